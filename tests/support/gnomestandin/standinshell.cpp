#include "standinshell.h"

QDBusArgument &operator<<(QDBusArgument &argument, const StandinWindow &w) {
    argument.beginStructure();
    argument << w.id << w.appId << w.pid << w.title << w.focused << w.x11Window;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, StandinWindow &w) {
    argument.beginStructure();
    argument >> w.id >> w.appId >> w.pid >> w.title >> w.focused >> w.x11Window;
    argument.endStructure();
    return argument;
}

StandinShell::StandinShell(QList<StandinWindow> windows, QTextStream &log)
    : windows_(std::move(windows)), log_(log) {}

StandinWindow StandinShell::focused() const {
    for (StandinWindow w : windows_)
        if (w.id == focus_) {
            w.focused = true;
            return w;
        }
    return StandinWindow{};
}

void StandinShell::setFocus(quint64 id) {
    focus_ = id;
    log_ << "focus " << id << Qt::endl;
    Q_EMIT FocusChanged(focused());
}

void StandinShell::setTitle(quint64 id, const QString &title) {
    for (StandinWindow &w : windows_)
        if (w.id == id)
            w.title = title;
    if (id == focus_)
        Q_EMIT FocusChanged(focused());
}

QList<StandinWindow> StandinShell::ListWindows() {
    QList<StandinWindow> result = windows_;
    for (StandinWindow &w : result)
        w.focused = w.id == focus_;
    return result;
}

StandinWindow StandinShell::FocusedWindow(quint32 &modifiers) {
    log_ << "focused?" << Qt::endl;
    modifiers = modifiers_;
    return focused();
}

bool StandinShell::Activate(quint64 id) {
    log_ << "activate " << id << Qt::endl;
    for (const StandinWindow &w : windows_)
        if (w.id == id) {
            setFocus(id);
            return true;
        }
    return false;
}
