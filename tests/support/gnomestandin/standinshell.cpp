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

StandinWindow StandinShell::FocusedWindow(quint32 &modifiers) {
    modifiers = 0;
    for (const StandinWindow &w : windows_)
        if (w.focused)
            return w;
    return StandinWindow{};
}
