#include "desktop/wayland/virtualkeyboardprotocol.h"

#include <wayland-client.h>

namespace {

// Request numbers in the order of the interfaces' requests.
enum KeyboardRequest : uint32_t { Keymap = 0, Key = 1, Modifiers = 2, Destroy = 3 };
enum ManagerRequest : uint32_t { CreateVirtualKeyboard = 0 };

extern const wl_interface keyboardInterfaceData;

const wl_interface *createTypes[] = {&wl_seat_interface, &keyboardInterfaceData};
const wl_interface *noTypes[] = {nullptr, nullptr, nullptr, nullptr};

const wl_message managerRequests[] = {
    {"create_virtual_keyboard", "on", createTypes},
};

const wl_message keyboardRequests[] = {
    {"keymap", "uhu", noTypes},
    {"key", "uuu", noTypes},
    {"modifiers", "uuuu", noTypes},
    {"destroy", "", noTypes},
};

const wl_interface managerInterfaceData = {
    "zwp_virtual_keyboard_manager_v1", 1, 1, managerRequests, 0, nullptr};
const wl_interface keyboardInterfaceData = {"zwp_virtual_keyboard_v1", 1, 4, keyboardRequests, 0, nullptr};

} // namespace

const wl_interface *VirtualKeyboardProtocol::managerInterface() {
    return &managerInterfaceData;
}

const wl_interface *VirtualKeyboardProtocol::keyboardInterface() {
    return &keyboardInterfaceData;
}

wl_proxy *VirtualKeyboardProtocol::createKeyboard(wl_proxy *manager, wl_proxy *seat) {
    return wl_proxy_marshal_flags(manager, CreateVirtualKeyboard, &keyboardInterfaceData,
                                  wl_proxy_get_version(manager), 0, seat, nullptr);
}

void VirtualKeyboardProtocol::keymap(wl_proxy *keyboard, uint32_t format, int fd, uint32_t size) {
    wl_proxy_marshal_flags(keyboard, Keymap, nullptr, wl_proxy_get_version(keyboard), 0, format, fd, size);
}

void VirtualKeyboardProtocol::key(wl_proxy *keyboard, uint32_t timeMs, uint32_t key, uint32_t state) {
    wl_proxy_marshal_flags(keyboard, Key, nullptr, wl_proxy_get_version(keyboard), 0, timeMs, key, state);
}

void VirtualKeyboardProtocol::modifiers(wl_proxy *keyboard, uint32_t depressed, uint32_t latched,
                                        uint32_t locked, uint32_t group) {
    wl_proxy_marshal_flags(keyboard, Modifiers, nullptr, wl_proxy_get_version(keyboard), 0, depressed,
                           latched, locked, group);
}

void VirtualKeyboardProtocol::destroyKeyboard(wl_proxy *keyboard) {
    wl_proxy_marshal_flags(keyboard, Destroy, nullptr, wl_proxy_get_version(keyboard),
                           WL_MARSHAL_FLAG_DESTROY);
}

void VirtualKeyboardProtocol::destroyManager(wl_proxy *manager) {
    // The manager has no destructor request.
    wl_proxy_destroy(manager);
}
