// pastetarget --log FILE [--class NAME] [--desktop-id ID] [--title TEXT] [--stamp]
// A window with one text field that logs what it receives. --class sets the WM_CLASS class,
// --desktop-id the desktop application id the window announces (under QT_QPA_PLATFORM=wayland its
// app id, which is the class when absent), --stamp prefixes every log line
// with monotonic microseconds. Prints "ready" once the window is shown.
#include "pastefield.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QPixmap>
#include <QVBoxLayout>
#include <QWidget>
#include <iostream>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace {

void announceDesktopId(WId window, const QByteArray &id) {
    Display *display = XOpenDisplay(nullptr);
    if (!display)
        return;
    const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
    for (const char *name : {"_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE"})
        XChangeProperty(display, window, XInternAtom(display, name, False), utf8, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char *>(id.constData()), int(id.size()));
    XSync(display, False);
    XCloseDisplay(display);
}

} // namespace

int main(int argc, char **argv) {
    // The WM_CLASS class is the application name when the first window is made.
    QString className;
    for (int i = 1; i + 1 < argc; ++i)
        if (QByteArray(argv[i]) == "--class")
            className = QString::fromLocal8Bit(argv[i + 1]);
    if (!className.isEmpty())
        QCoreApplication::setApplicationName(className);

    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOptions(
        {{QStringLiteral("log"), QStringLiteral("log file"), QStringLiteral("file")},
         {QStringLiteral("class"), QStringLiteral("WM_CLASS class"), QStringLiteral("name")},
         {QStringLiteral("desktop-id"), QStringLiteral("desktop application id"), QStringLiteral("id")},
         {QStringLiteral("title"), QStringLiteral("window title"), QStringLiteral("text")},
         {QStringLiteral("stamp"), QStringLiteral("time stamps in the log")}});
    parser.process(app);
    if (!parser.isSet(QStringLiteral("log"))) {
        std::cerr << "pastetarget: --log FILE is required" << std::endl;
        return 2;
    }

    QWidget window;
    window.setWindowTitle(parser.value(QStringLiteral("title")).isEmpty()
                              ? QStringLiteral("paste target")
                              : parser.value(QStringLiteral("title")));
    auto *field =
        new PasteField(parser.value(QStringLiteral("log")), parser.isSet(QStringLiteral("stamp")), &window);
    auto *layout = new QVBoxLayout(&window);
    layout->addWidget(field);
    window.resize(360, 80);
    // A plain icon, so that readers of _NET_WM_ICON have something to find.
    QPixmap icon(48, 48);
    icon.fill(QColor(200, 30, 60));
    window.setWindowIcon(QIcon(icon));
    const QString desktopId = parser.value(QStringLiteral("desktop-id"));
    if (QGuiApplication::platformName() == QLatin1String("wayland"))
        QGuiApplication::setDesktopFileName(desktopId.isEmpty() ? className : desktopId);
    else if (!desktopId.isEmpty())
        announceDesktopId(window.winId(), desktopId.toUtf8());
    window.show();
    field->setFocus();
    std::cout << "ready" << std::endl;
    return app.exec();
}
