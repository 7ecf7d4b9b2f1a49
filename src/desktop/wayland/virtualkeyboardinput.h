#pragma once

#include "desktop/wayland/virtualkeymap.h"
#include "desktop/wayland/waylandkeyinput.h"

#include <optional>

struct wl_proxy;

// Keys through zwp_virtual_keyboard_v1 (wlroots compositors): a keyboard of our own on the seat
// with a keymap of our own, so the user's layout and held keys do not change our strokes.
class VirtualKeyboardInput : public WaylandKeyInput {
public:
    VirtualKeyboardInput() = default;
    ~VirtualKeyboardInput() override;

    const char *interfaceName() const override;
    void bind(wl_registry *registry, uint32_t name, uint32_t version) override;
    bool bound() const override { return manager_; }
    QString start(wl_seat *seat) override;
    void type(DesktopBackend::Stroke stroke) override;
    void stop() override;

private:
    wl_proxy *manager_ = nullptr, *keyboard_ = nullptr;
    std::optional<VirtualKeymap> keymap_;
};
