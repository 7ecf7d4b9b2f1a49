// gnomestandin --log FILE --window ID:APPID:PID:TITLE ... [--focus ID] [--refuse] [--no-portal]
//
// Owns org.gnome.Shell (with Quillora's extension interface) and, unless --no-portal,
// org.freedesktop.portal.Desktop on the session bus, logs every call, and prints "ready" once they
// answer. With --refuse the user cancels the permission dialog.

#include "standinportal.h"
#include "standinshell.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QFile>
#include <cstdio>

int main(int argc, char **argv) {
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOption({QStringLiteral("log"), QStringLiteral("log file"), QStringLiteral("file")});
    parser.addOption({QStringLiteral("window"), QStringLiteral("a window: id:app id:pid:title"),
                      QStringLiteral("window")});
    parser.addOption({QStringLiteral("focus"), QStringLiteral("focused window"), QStringLiteral("id")});
    parser.addOption({QStringLiteral("refuse"), QStringLiteral("the user cancels the dialog")});
    parser.addOption({QStringLiteral("no-portal"), QStringLiteral("no desktop portal")});
    parser.process(app);

    QFile logFile(parser.value(QStringLiteral("log")));
    if (!logFile.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return 2;
    QTextStream log(&logFile);

    qDBusRegisterMetaType<StandinWindow>();
    qDBusRegisterMetaType<QList<StandinWindow>>();
    QList<StandinWindow> windows;
    const quint64 focus = parser.value(QStringLiteral("focus")).toULongLong();
    for (const QString &window : parser.values(QStringLiteral("window"))) {
        const QStringList f = window.split(QLatin1Char(':'));
        if (f.size() < 4)
            return 2;
        windows.append({f[0].toULongLong(), f[1], f[2].toInt(), f[3], f[0].toULongLong() == focus, 0});
    }
    StandinShell shell(windows);
    StandinPortal portal(log, parser.isSet(QStringLiteral("refuse")));

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/org/quillora/Quillora/Windows"), &shell,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) ||
        !bus.registerService(QStringLiteral("org.gnome.Shell")))
        return 3;
    if (!parser.isSet(QStringLiteral("no-portal")) &&
        (!bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &portal,
                             QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties) ||
         !bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"))))
        return 3;
    std::printf("ready\n");
    std::fflush(stdout);
    return app.exec();
}
