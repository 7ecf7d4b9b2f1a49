#pragma once

#include "send/wayland/waylandkeyinput.h"

struct org_kde_kwin_fake_input;

// Keys through org_kde_kwin_fake_input (KDE Plasma). The compositor reads the key codes through
// the seat's own keymap, so the codes are those of the keys that carry V, Enter and Left on the
// standard layouts. KWin offers the protocol only to programs whose desktop entry asks for it, and
// takes keys only after authenticate.
class FakeKeyInput : public WaylandKeyInput {
public:
    FakeKeyInput() = default;
    ~FakeKeyInput() override;

    const char *interfaceName() const override;
    void bind(wl_registry *registry, uint32_t name, uint32_t version) override;
    bool bound() const override { return input_; }
    QString start(wl_seat *seat) override;
    void type(DesktopBackend::Stroke stroke) override;
    void stop() override;

    // Key codes of the strokes: evdev codes.
    static uint32_t code(DesktopBackend::Key key);
    static constexpr uint32_t controlCode = 29, shiftCode = 42;

private:
    org_kde_kwin_fake_input *input_ = nullptr;
    bool ready_ = false;
};
