#include "app/appcontroller.h"
#include "app/mainwindow.h"
#include "app/signinview.h"
#include "library/homeview.h"
#include "ui/messagebox.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QLibraryInfo>
#include <QLocale>
#include <QPointer>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QTranslator>
#include <iostream>

// QUILLORA_SCREENSHOT=FILE: an unattended run. Message boxes are answered by themselves (and printed),
// and once the home window shows the synchronised library it is saved to FILE and the program ends.
static void unattended(AppController &listener, const QString &file) {
    MessageBox::setAnswerProvider([](const MessageBox::Request &r) {
        std::cout << "message box: " << r.title.toStdString() << ": " << r.text.toStdString() << std::endl;
        return true;
    });
    // A run that never reaches the library ends with an error instead of hanging.
    QTimer::singleShot(120000, qApp, [] {
        std::cerr << "quillora: the home window did not show the library in time" << std::endl;
        QCoreApplication::exit(1);
    });
    auto *login = qobject_cast<SignInView *>(listener.window()->contentView());
    QObject::connect(login, &SignInView::loginFailed, qApp, [](const QString &msg) {
        std::cerr << "quillora: sign-in failed: " << msg.toStdString() << std::endl;
        QCoreApplication::exit(1);
    });
    QObject::connect(login, &SignInView::signedIn, qApp, [&listener, file](HomeView *home) {
        QObject::connect(home, &HomeView::cloudStopped, qApp, [&listener, file] {
            // Let the lists and the docking settle before the picture is taken.
            QTimer::singleShot(800, qApp, [&listener, file] {
                QWidget *w = listener.window();
                QDir().mkpath(QFileInfo(file).absolutePath());
                if (!w || !w->grab().save(file)) {
                    std::cerr << "quillora: could not save " << file.toStdString() << std::endl;
                    QCoreApplication::exit(1);
                    return;
                }
                std::cout << "screenshot: " << QFileInfo(file).absoluteFilePath().toStdString() << std::endl;
                QCoreApplication::exit(0);
            });
        });
    });
}

int main(int argc, char **argv) {
    Q_INIT_RESOURCE(app);
    AppController::prepareProcess();
    QApplication app(argc, argv);
    QApplication::setApplicationName("quillora");
    QApplication::setOrganizationName("quillora");
    QApplication::setWindowIcon(QIcon(":/icon.svg"));
    // Our texts are Chinese; Qt's own (file dialog, text field menus) follow them.
    QTranslator qtTexts;
    if (qtTexts.load(QLocale(QLocale::Chinese, QLocale::China), QStringLiteral("qtbase"), QStringLiteral("_"),
                     QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&qtTexts);
    // Closing the window keeps the program in the tray; without a tray it would be unreachable.
    QApplication::setQuitOnLastWindowClosed(!QSystemTrayIcon::isSystemTrayAvailable());

    AppController listener;
    listener.applicationDidFinishLaunching();
    const QString shot = qEnvironmentVariable("QUILLORA_SCREENSHOT");
    if (!shot.isEmpty())
        unattended(listener, shot);
    const int status = app.exec();
    listener.applicationWillTerminate();
    return status;
}
