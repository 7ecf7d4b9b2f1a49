#pragma once

#include "desktop/wayland/keymapcodes.h"
#include "desktop/wayland/waylandkeyinput.h"

#include <optional>

struct org_kde_kwin_fake_input;
struct wl_keyboard;

// Keys through org_kde_kwin_fake_input (KDE Plasma). The compositor reads the key codes through
// the seat's keymap in its active layout, so the codes come from that keymap, which the seat's
// keyboard hands us (again at each change of the layouts); the active layout is KWin's answer on
// the session bus when it has several. KWin offers the protocol only to programs whose desktop
// entry asks for it, and takes keys only after authenticate.
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

    // Key codes of the strokes where no keymap came: evdev codes of the US layout.
    static uint32_t code(DesktopBackend::Key key);
    static constexpr uint32_t controlCode = 29, shiftCode = 42;

private:
    static void onKeymap(void *data, wl_keyboard *keyboard, uint32_t format, int32_t fd, uint32_t size);
    // The code for sym in the active layout, else fallback.
    uint32_t codeFor(uint32_t sym, uint32_t fallback, uint32_t layout) const;

    org_kde_kwin_fake_input *input_ = nullptr;
    wl_keyboard *keyboard_ = nullptr;
    std::optional<KeymapCodes> keymap_;
    bool ready_ = false;
};
