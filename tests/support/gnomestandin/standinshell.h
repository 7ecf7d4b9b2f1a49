#pragma once

#include <QDBusArgument>
#include <QList>
#include <QObject>
#include <QString>

// One window as the extension describes it: (id, app id, pid, title, focused, X11 window).
struct StandinWindow {
    quint64 id = 0;
    QString appId;
    qint32 pid = -1;
    QString title;
    bool focused = false;
    quint32 x11Window = 0;
};
Q_DECLARE_METATYPE(StandinWindow)

QDBusArgument &operator<<(QDBusArgument &argument, const StandinWindow &w);
const QDBusArgument &operator>>(const QDBusArgument &argument, StandinWindow &w);

// The extension's interface as the real one answers it inside the shell, for windows that stay
// where they are: the list, and the focused window with no modifier held.
class StandinShell : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.quillora.Quillora.Windows")

public:
    explicit StandinShell(QList<StandinWindow> windows) : windows_(std::move(windows)) {}

public Q_SLOTS:
    QList<StandinWindow> ListWindows() { return windows_; }
    StandinWindow FocusedWindow(quint32 &modifiers);

Q_SIGNALS:
    void FocusChanged(StandinWindow window);

private:
    QList<StandinWindow> windows_;
};
