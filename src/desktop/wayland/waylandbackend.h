#pragma once

#include "desktop/desktopbackend.h"

#include <memory>

// The desktop on Wayland compositors that let a program see other programs' windows: a window list
// (zwlr_foreign_toplevel_manager_v1 on wlroots compositors, org_kde_plasma_window_management on
// KDE Plasma) for the window in front and activation, zwlr_data_control_manager_v1 for the
// clipboard without the focus, and a keyboard (zwp_virtual_keyboard_v1, or KDE's
// org_kde_kwin_fake_input) for key strokes, each chosen from what the compositor announces. A
// connection of its own, served by a thread that sleeps until the compositor or a caller has
// something. This program's own windows run through XWayland (see DesktopSession) and are
// recognised there.
class WaylandBackend : public DesktopBackend {
public:
    // Connects to WAYLAND_DISPLAY.
    WaylandBackend();
    ~WaylandBackend() override;
    WaylandBackend(const WaylandBackend &) = delete;
    WaylandBackend &operator=(const WaylandBackend &) = delete;

    // Connected, and the compositor lists its windows to other programs.
    bool available() const override;
    // Whether key strokes can be synthesised (the compositor offers a keyboard for programs).
    bool canType() const;
    // Says on standard output what the compositor does not offer; for the back-end the session keeps.
    void sayWhatIsMissing() const;
    // The protocols chosen for the window list and the keys; empty when there is none.
    QString windowProtocol() const;
    QString keyProtocol() const;

    std::optional<RunningApplication> activeApplication() override;
    QList<RunningApplication> runningApplications() override;
    bool activate(const RunningApplication &application) override;
    QImage icon(quint64 window) override;
    bool modifiersHeld() override;
    bool keyStroke(Key key, bool control) override;
    // What the compositor reports: the toplevel list's activated window stands for the keyboard focus.
    Focus focus(quint64 window) override;
    // Checked and typed in one go on the connection's thread, after a round trip; the compositor
    // may still move the focus between the two, which no protocol of either family can prevent.
    StrokeResult strokeInto(quint64 window, Stroke stroke) override;
    // The clipboard protocol does not name who reads: readers are recorded as window 0, which
    // stands for any window.
    bool sameClient(quint64 a, quint64 b) override;
    QString typeName(quint32 type) override;

    bool servesClipboard() const override;
    bool setClipboard(const QList<std::pair<QByteArray, QByteArray>> &typesAndData,
                      bool alsoPrimary) override;
    bool ownsClipboard() override;
    bool watchFront(std::function<void(FrontChange)> listener) override;

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
