#pragma once

#include <cstdint>

struct wl_proxy;
struct wl_interface;

// Client side of the virtual keyboard protocol (zwp_virtual_keyboard_manager_v1 and
// zwp_virtual_keyboard_v1). No Debian package ships its description for wayland-scanner, so its
// two interfaces are written out here; the wire format is plain libwayland marshalling.
namespace VirtualKeyboardProtocol {

const wl_interface *managerInterface();
const wl_interface *keyboardInterface();

// A virtual keyboard on seat (a wl_seat proxy); null when the request could not be made.
wl_proxy *createKeyboard(wl_proxy *manager, wl_proxy *seat);
// format 1 is XKB text v1; fd and size describe the keymap in memory that can be mapped.
void keymap(wl_proxy *keyboard, uint32_t format, int fd, uint32_t size);
// key is an evdev code; state 1 pressed, 0 released.
void key(wl_proxy *keyboard, uint32_t timeMs, uint32_t key, uint32_t state);
void modifiers(wl_proxy *keyboard, uint32_t depressed, uint32_t latched, uint32_t locked, uint32_t group);
void destroyKeyboard(wl_proxy *keyboard);
void destroyManager(wl_proxy *manager);
} // namespace VirtualKeyboardProtocol
