#pragma once

#include "desktop/desktopbackend.h"

#include <memory>

// The desktop on X11: EWMH through libxdo for the active window and activation, Xlib for window
// properties, XTest for keys. Works for XWayland windows too; a pure Wayland session without
// XWayland has no display, and then every operation fails.
class X11Backend : public DesktopBackend {
public:
    // Opens the display named by DISPLAY.
    X11Backend();
    ~X11Backend() override;
    X11Backend(const X11Backend &) = delete;
    X11Backend &operator=(const X11Backend &) = delete;

    bool available() const override;
    std::optional<RunningApplication> activeApplication() override;
    QList<RunningApplication> runningApplications() override;
    bool activate(const RunningApplication &application) override;
    QImage icon(quint64 window) override;
    bool modifiersHeld() override;
    bool keyStroke(Key key, bool control) override;
    Focus focus(quint64 window) override;
    StrokeResult strokeInto(quint64 window, Stroke stroke) override;
    bool sameClient(quint64 a, quint64 b) override;
    QString typeName(quint32 type) override;
    bool watchFront(std::function<void(FrontChange)> listener) override;

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
