#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

// A private headless GNOME Shell (Wayland, with XWayland and a virtual monitor) with Quillora's
// Shell extension enabled: its own runtime, data, config and cache folders, its own session bus
// (which starts the desktop portal when asked) and a bus standing in for the system bus. Start it
// before the application object: it points this process at the shell's XWayland display and bus.
class GnomeShellSession {
public:
    GnomeShellSession() = default;
    ~GnomeShellSession();

    // Whether gnome-shell and dbus-daemon are installed.
    static bool installed();
    // Empty on success, else what went wrong.
    QString start(const QString &extensionDir);
    void stop();

    // For programs started into the session: the session bus and the Wayland display, no X11.
    QProcessEnvironment waylandEnvironment() const { return environment_; }
    QString runtimeDir() const { return dir_.filePath(QStringLiteral("runtime")); }
    QString logPath() const { return dir_.filePath(QStringLiteral("shell.log")); }

private:
    QTemporaryDir dir_;
    QProcess systemBus_, sessionBus_, shell_;
    QProcessEnvironment environment_;
};
