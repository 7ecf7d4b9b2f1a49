// gnomestandin --log FILE --window ID:APPID:PID:TITLE[:X11] ... [--focus ID]
//
// Owns org.gnome.Shell (with Quillora's extension interface) and org.freedesktop.portal.Desktop
// on the session bus, logs every call, and prints "ready" once both answer. Like the shell, it
// reads the X11 clipboard when Ctrl+V reaches the focused window, and logs what it got. Commands
// on standard input: "focus ID", "title ID TEXT", "steal ID" (the focus moves to ID right after
// the next paste), "refuse" (the next permission dialog is cancelled), "portal off".

#include "standinportal.h"
#include "standinshell.h"

#include <QClipboard>
#include <QCommandLineParser>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdio>
#include <unistd.h>

int main(int argc, char **argv) {
    QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOption({QStringLiteral("log"), QStringLiteral("log file"), QStringLiteral("file")});
    parser.addOption({QStringLiteral("window"), QStringLiteral("a window: id:app id:pid:title[:X11 id]"),
                      QStringLiteral("window")});
    parser.addOption({QStringLiteral("focus"), QStringLiteral("focused window"), QStringLiteral("id")});
    parser.process(app);

    QFile logFile(parser.value(QStringLiteral("log")));
    if (!logFile.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return 2;
    QTextStream log(&logFile);

    qDBusRegisterMetaType<StandinWindow>();
    qDBusRegisterMetaType<QList<StandinWindow>>();
    QList<StandinWindow> windows;
    for (const QString &window : parser.values(QStringLiteral("window"))) {
        const QStringList f = window.split(QLatin1Char(':'));
        if (f.size() < 4)
            return 2;
        windows.append({f[0].toULongLong(), f[1], f[2].toInt(), f[3], false, f.value(4).toUInt()});
    }
    StandinShell shell(windows, log);
    StandinPortal portal(log);
    shell.setFocus(parser.value(QStringLiteral("focus")).toULongLong());

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/org/quillora/Quillora/Windows"), &shell,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) ||
        !bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &portal,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties) ||
        !bus.registerService(QStringLiteral("org.gnome.Shell")) ||
        !bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")))
        return 3;

    quint64 steal = 0;
    portal.setKeyListener([&](bool keysym, int value, bool control) {
        if (!keysym || value != 'v' || !control)
            return;
        // After the key's reply, as a program reads the clipboard once it handles the key.
        QTimer::singleShot(0, &app, [&] {
            const QMimeData *data = QGuiApplication::clipboard()->mimeData();
            if (data && data->hasImage()) {
                const QImage image = qvariant_cast<QImage>(data->imageData());
                log << "paste image=" << image.width() << "x" << image.height() << Qt::endl;
            } else {
                log << "paste text=" << (data ? data->text() : QString()) << Qt::endl;
            }
            if (steal) {
                shell.setFocus(steal);
                steal = 0;
            }
        });
    });

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char line[512];
        const ssize_t n = read(STDIN_FILENO, line, sizeof line - 1);
        if (n <= 0) {
            app.quit();
            return;
        }
        line[n] = 0;
        for (const QString &command : QString::fromUtf8(line).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QStringList words = command.split(QLatin1Char(' '));
            if (words[0] == QLatin1String("focus"))
                shell.setFocus(words.value(1).toULongLong());
            else if (words[0] == QLatin1String("title"))
                shell.setTitle(words.value(1).toULongLong(), words.mid(2).join(QLatin1Char(' ')));
            else if (words[0] == QLatin1String("steal"))
                steal = words.value(1).toULongLong();
            else if (words[0] == QLatin1String("refuse"))
                portal.setRefuse(true);
            else if (words[0] == QLatin1String("portal") && words.value(1) == QLatin1String("off"))
                bus.unregisterService(QStringLiteral("org.freedesktop.portal.Desktop"));
            log << "did " << command << Qt::endl;
        }
    });
    std::printf("ready\n");
    std::fflush(stdout);
    return app.exec();
}
