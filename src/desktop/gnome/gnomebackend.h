#pragma once

#include "desktop/desktopbackend.h"

#include <QProcessEnvironment>
#include <memory>

class Settings;

// The desktop on GNOME's Wayland session, where the compositor offers other programs neither
// their windows nor synthesised keys through any Wayland protocol:
// - windows (the one in front and its changes, app ids, pids, titles, activation) come from
//   Quillora's GNOME Shell extension over the session bus (ShellWindows);
// - keys go through the desktop portal's remote desktop session (RemoteDesktopPortal), which the
//   user allows once;
// - the clipboard is the toolkit's: this program's windows run through XWayland (see
//   DesktopSession), where a program sets the X11 clipboard without the focus (X11 asks for no
//   focus, only a time stamp), and the shell, which watches the X11 clipboard's owner, offers that
//   owner's content to Wayland programs and reads it for them when they paste. The portal's own
//   clipboard interface is newer than Debian 12's xdg-desktop-portal 1.16.
// Signals and the portal's set-up are handled on a thread of the back-end.
class GnomeBackend : public DesktopBackend {
public:
    static constexpr const char *extensionUuid = "quillora@org.quillora.Quillora";
    // How long a stroke waits for the portal session that is still being set up.
    static constexpr int portalWaitMs = 5000;
    // How long a paste waits for the shell to take up a new clipboard content.
    static constexpr int clipboardTakenMs = 500;

    static bool isGnome(const QProcessEnvironment &environment);

    // Asks the extension for the windows; opens the portal session only when the extension answers.
    explicit GnomeBackend(Settings &settings);
    ~GnomeBackend() override;
    GnomeBackend(const GnomeBackend &) = delete;
    GnomeBackend &operator=(const GnomeBackend &) = delete;

    // The extension answers.
    bool available() const override;
    // The portal's keyboard session runs.
    bool canType() const;

    std::optional<RunningApplication> activeApplication() override;
    QList<RunningApplication> runningApplications() override;
    bool activate(const RunningApplication &application) override;
    QImage icon(quint64 window) override;
    bool modifiersHeld() override;
    bool keyStroke(Key key, bool control) override;
    // The shell's focused window, asked at the time of the call.
    Focus focus(quint64 window) override;
    // Asks the shell for the focused window and the modifiers, then types through the portal.
    StrokeResult strokeInto(quint64 window, Stroke stroke) override;
    // Native Wayland programs read the clipboard through the shell's own X11 window: any reader
    // counts for them. XWayland windows are told apart as on X11.
    bool sameClient(quint64 a, quint64 b) override;
    QString typeName(quint32 type) override;
    bool watchFront(std::function<void(FrontChange)> listener) override;
    // The shell asks a new X11 clipboard owner for its types before it offers the content to
    // Wayland programs; a Ctrl+V that arrives earlier reads the previous content.
    void awaitClipboardTaken(const std::atomic<bool> &cancel) override;

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
