#pragma once

#include <cstdint>

struct wl_proxy;
struct wl_interface;

// Client side of the virtual keyboard protocol (zwp_virtual_keyboard_manager_v1 and
// zwp_virtual_keyboard_v1). No Debian package ships its description for wayland-scanner, so its
// two interfaces are written out here; the wire format is plain libwayland marshalling.
class VirtualKeyboardProtocol {
public:
    VirtualKeyboardProtocol() = delete;

    static const wl_interface *managerInterface();
    static const wl_interface *keyboardInterface();

    // A virtual keyboard on seat (a wl_seat proxy); null when the request could not be made.
    static wl_proxy *createKeyboard(wl_proxy *manager, wl_proxy *seat);
    // format 1 is XKB text v1; fd and size describe the keymap in memory that can be mapped.
    static void keymap(wl_proxy *keyboard, uint32_t format, int fd, uint32_t size);
    // key is an evdev code; state 1 pressed, 0 released.
    static void key(wl_proxy *keyboard, uint32_t timeMs, uint32_t key, uint32_t state);
    static void modifiers(wl_proxy *keyboard, uint32_t depressed, uint32_t latched, uint32_t locked,
                          uint32_t group);
    static void destroyKeyboard(wl_proxy *keyboard);
    static void destroyManager(wl_proxy *manager);
};
