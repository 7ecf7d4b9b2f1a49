// pastetarget --log FILE [--class NAME] [--desktop-id ID] [--title TEXT] [--stamp] [--reread MS]
//             [--async MS] [--text-only] [--terminal] [--windows 2] [--no-pid] [--watch]
// A window with one text field that logs what it receives. --class sets the WM_CLASS class,
// --desktop-id the desktop application id the window announces (under QT_QPA_PLATFORM=wayland
// its app id, which is the class when absent), --stamp prefixes every log line
// with monotonic microseconds; --reread, --async, --text-only and --terminal choose how it pastes
// (see PasteField). --windows 2 opens a second window that logs to FILE.2; --no-pid removes
// _NET_WM_PID from the windows. --watch shows no window and reads every new clipboard content
// whole, as some window managers and clipboard managers do. Prints "ready" once shown.
#include "pastefield.h"

#include <QApplication>
#include <QClipboard>
#include <QCommandLineParser>
#include <QIcon>
#include <QMimeData>
#include <QPixmap>
#include <QVBoxLayout>
#include <QWidget>
#include <iostream>
#include <memory>
#include <vector>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace {

void announceDesktopId(WId window, const QByteArray &id, bool dropPid) {
    Display *display = XOpenDisplay(nullptr);
    if (!display)
        return;
    const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
    if (!id.isEmpty())
        for (const char *name : {"_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE"})
            XChangeProperty(display, window, XInternAtom(display, name, False), utf8, 8, PropModeReplace,
                            reinterpret_cast<const unsigned char *>(id.constData()), int(id.size()));
    if (dropPid)
        XDeleteProperty(display, window, XInternAtom(display, "_NET_WM_PID", False));
    XSync(display, False);
    XCloseDisplay(display);
}

int number(const QCommandLineParser &parser, const QString &name) {
    return parser.isSet(name) ? parser.value(name).toInt() : -1;
}

} // namespace

int main(int argc, char **argv) {
    // The WM_CLASS class is the application name when the first window is made. Qt on X11 would
    // take --title for itself (the title of whichever window comes first): it is taken out here.
    QString className, title = QStringLiteral("paste target");
    std::vector<char *> args{argv[0]};
    for (int i = 1; i < argc; ++i) {
        if (QByteArray(argv[i]) == "--class" && i + 1 < argc)
            className = QString::fromLocal8Bit(argv[i + 1]);
        if (QByteArray(argv[i]) == "--title" && i + 1 < argc) {
            title = QString::fromLocal8Bit(argv[++i]);
            continue;
        }
        args.push_back(argv[i]);
    }
    int count = int(args.size());
    if (!className.isEmpty())
        QCoreApplication::setApplicationName(className);

    QApplication app(count, args.data());
    QCommandLineParser parser;
    parser.addOptions(
        {{QStringLiteral("log"), QStringLiteral("log file"), QStringLiteral("file")},
         {QStringLiteral("class"), QStringLiteral("WM_CLASS class"), QStringLiteral("name")},
         {QStringLiteral("desktop-id"), QStringLiteral("desktop application id"), QStringLiteral("id")},
         {QStringLiteral("stamp"), QStringLiteral("time stamps in the log")},
         {QStringLiteral("reread"), QStringLiteral("read again after ms"), QStringLiteral("ms")},
         {QStringLiteral("async"), QStringLiteral("use the data ms later"), QStringLiteral("ms")},
         {QStringLiteral("text-only"), QStringLiteral("takes text only")},
         {QStringLiteral("terminal"), QStringLiteral("pastes like a terminal")},
         {QStringLiteral("windows"), QStringLiteral("number of windows"), QStringLiteral("n")},
         {QStringLiteral("no-pid"), QStringLiteral("windows without _NET_WM_PID")},
         {QStringLiteral("watch"), QStringLiteral("read every new clipboard content")}});
    parser.process(app);

    if (parser.isSet(QStringLiteral("watch"))) {
        QClipboard *clipboard = QApplication::clipboard();
        QObject::connect(clipboard, &QClipboard::dataChanged, [clipboard] {
            if (const QMimeData *data = clipboard->mimeData())
                for (const QString &format : data->formats())
                    data->data(format);
        });
        std::cout << "ready" << std::endl;
        return app.exec();
    }
    if (!parser.isSet(QStringLiteral("log"))) {
        std::cerr << "pastetarget: --log FILE is required" << std::endl;
        return 2;
    }

    PasteField::Behaviour behaviour;
    behaviour.rereadMs = number(parser, QStringLiteral("reread"));
    behaviour.asyncMs = number(parser, QStringLiteral("async"));
    behaviour.textOnly = parser.isSet(QStringLiteral("text-only"));
    behaviour.terminal = parser.isSet(QStringLiteral("terminal"));
    const int windowCount = std::max(1, number(parser, QStringLiteral("windows")));
    // A plain icon, so that readers of _NET_WM_ICON have something to find.
    QPixmap icon(48, 48);
    icon.fill(QColor(200, 30, 60));

    const bool wayland = QGuiApplication::platformName() == QLatin1String("wayland");
    if (wayland) {
        const QString desktopId = parser.value(QStringLiteral("desktop-id"));
        QGuiApplication::setDesktopFileName(desktopId.isEmpty() ? className : desktopId);
    }
    std::vector<std::unique_ptr<QWidget>> windows;
    PasteField *first = nullptr;
    for (int i = windowCount; i >= 1; --i) {
        auto window = std::make_unique<QWidget>();
        window->setWindowTitle(i == 1 ? title : title + QStringLiteral(" %1").arg(i));
        const QString log =
            parser.value(QStringLiteral("log")) + (i == 1 ? QString() : QStringLiteral(".%1").arg(i));
        auto *field = new PasteField(log, parser.isSet(QStringLiteral("stamp")), behaviour, window.get());
        (new QVBoxLayout(window.get()))->addWidget(field);
        window->resize(360, 80);
        window->move(40, 40 + (i - 1) * 160);
        window->setWindowIcon(QIcon(icon));
        if (!wayland)
            announceDesktopId(window->winId(), parser.value(QStringLiteral("desktop-id")).toUtf8(),
                              parser.isSet(QStringLiteral("no-pid")));
        window->show();
        field->setFocus();
        if (i == 1)
            first = field;
        windows.push_back(std::move(window));
    }
    // The first window is shown last, so that it starts in front.
    first->activateWindow();
    std::cout << "ready" << std::endl;
    return app.exec();
}
