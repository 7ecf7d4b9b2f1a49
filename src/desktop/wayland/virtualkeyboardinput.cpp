#include "desktop/wayland/virtualkeyboardinput.h"

#include "desktop/wayland/virtualkeyboardprotocol.h"

#include <time.h>
#include <vector>
#include <wayland-client.h>

namespace {

uint32_t nowMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return uint32_t(quint64(now.tv_sec) * 1000 + quint64(now.tv_nsec) / 1000000);
}

} // namespace

VirtualKeyboardInput::~VirtualKeyboardInput() = default;

const char *VirtualKeyboardInput::interfaceName() const {
    return VirtualKeyboardProtocol::managerInterface()->name;
}

void VirtualKeyboardInput::bind(wl_registry *registry, uint32_t name, uint32_t) {
    manager_ = static_cast<wl_proxy *>(
        wl_registry_bind(registry, name, VirtualKeyboardProtocol::managerInterface(), 1));
}

QString VirtualKeyboardInput::start(wl_seat *seat) {
    if (!manager_ || !seat)
        return QStringLiteral("缺少 zwp_virtual_keyboard_v1");
    keymap_ = VirtualKeymap::compile();
    if (!keymap_)
        return QStringLiteral("无法编译键盘布局");
    keyboard_ = VirtualKeyboardProtocol::createKeyboard(manager_, reinterpret_cast<wl_proxy *>(seat));
    VirtualKeyboardProtocol::keymap(keyboard_, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, keymap_->fd(),
                                    keymap_->size());
    return {};
}

void VirtualKeyboardInput::type(DesktopBackend::Stroke stroke) {
    if (!keyboard_)
        return;
    using Key = DesktopBackend::Key;
    const uint32_t code = stroke.key == Key::V       ? keymap_->v
                          : stroke.key == Key::Enter ? keymap_->keypadEnter
                          : stroke.key == Key::Left  ? keymap_->left
                                                     : keymap_->insert;
    const uint32_t t = nowMs();
    std::vector<uint32_t> held;
    uint32_t mask = 0;
    if (stroke.control) {
        held.push_back(keymap_->control);
        mask |= keymap_->controlMask;
    }
    if (stroke.shift) {
        held.push_back(keymap_->shift);
        mask |= keymap_->shiftMask;
    }
    for (uint32_t k : held)
        VirtualKeyboardProtocol::key(keyboard_, t, k, WL_KEYBOARD_KEY_STATE_PRESSED);
    if (mask)
        VirtualKeyboardProtocol::modifiers(keyboard_, mask, 0, 0, 0);
    VirtualKeyboardProtocol::key(keyboard_, t, code, WL_KEYBOARD_KEY_STATE_PRESSED);
    VirtualKeyboardProtocol::key(keyboard_, t, code, WL_KEYBOARD_KEY_STATE_RELEASED);
    for (auto k = held.rbegin(); k != held.rend(); ++k)
        VirtualKeyboardProtocol::key(keyboard_, t, *k, WL_KEYBOARD_KEY_STATE_RELEASED);
    if (mask)
        VirtualKeyboardProtocol::modifiers(keyboard_, 0, 0, 0, 0);
}

void VirtualKeyboardInput::stop() {
    if (keyboard_)
        VirtualKeyboardProtocol::destroyKeyboard(keyboard_);
    if (manager_)
        VirtualKeyboardProtocol::destroyManager(manager_);
    keyboard_ = manager_ = nullptr;
}
