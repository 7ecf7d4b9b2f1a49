#pragma once

#include "desktop/desktopbackend.h"

#include <QDBusConnection>
#include <QList>
#include <QObject>
#include <QString>
#include <functional>
#include <mutex>
#include <optional>

class QDBusMessage;

// Quillora's GNOME Shell extension, seen from here: the shell's windows, the focused one and its
// changes, bringing one forward. The calls are round trips to the shell and may come from any
// thread; the focus changes arrive on the thread this object lives in.
class ShellWindows : public QObject {
    Q_OBJECT

public:
    struct Window {
        quint64 id = 0; // the shell's; 0 for no window
        QString appId;
        qint32 pid = -1;
        QString title;
        bool focused = false;
        quint64 x11Window = 0; // for XWayland windows
    };

    struct Front {
        Window window;
        quint32 modifiers = 0; // the keyboard's modifier state, as the shell's toolkit has it
    };

    static constexpr const char *service = "org.gnome.Shell";
    static constexpr const char *path = "/org/quillora/Quillora/Windows";
    static constexpr const char *interface = "org.quillora.Quillora.Windows";

    explicit ShellWindows(const QDBusConnection &connection);

    // Absent when the extension does not answer.
    std::optional<QList<Window>> list() const;
    std::optional<Front> focused() const;
    bool activate(quint64 id) const;

    // Follows the extension's focus signal from now on, keeping the front window and telling
    // listener (on this object's thread) after each change.
    bool watch(const Window &initial);
    void setListener(std::function<void(DesktopBackend::FrontChange)> listener);
    Window front() const;

private Q_SLOTS:
    void onFocusChanged(const QDBusMessage &message);

private:
    QDBusConnection connection_;
    mutable std::mutex mutex_;
    Window front_;
    std::function<void(DesktopBackend::FrontChange)> listener_;
};
