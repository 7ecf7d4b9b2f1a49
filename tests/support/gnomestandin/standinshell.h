#pragma once

#include <QDBusArgument>
#include <QList>
#include <QObject>
#include <QString>
#include <QTextStream>

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

// The extension's interface as the real one answers it inside the shell: the list in stacking
// order, the focused window with the modifier state, Activate moving the focus and FocusChanged
// after each focus move or title change of the focused window. Every call is logged.
class StandinShell : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.quillora.Quillora.Windows")

public:
    StandinShell(QList<StandinWindow> windows, QTextStream &log);

    void setFocus(quint64 id);
    void setTitle(quint64 id, const QString &title);
    void setModifiers(quint32 modifiers) { modifiers_ = modifiers; }

public Q_SLOTS:
    QList<StandinWindow> ListWindows();
    StandinWindow FocusedWindow(quint32 &modifiers);
    bool Activate(quint64 id);

Q_SIGNALS:
    void FocusChanged(StandinWindow window);

private:
    StandinWindow focused() const;

    QList<StandinWindow> windows_;
    QTextStream &log_;
    quint64 focus_ = 0;
    quint32 modifiers_ = 0;
};
