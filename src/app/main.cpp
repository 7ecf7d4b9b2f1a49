#include "app/appcontroller.h"
#include "app/instancechannel.h"
#include "app/mainwindow.h"
#include "app/signinview.h"
#include "library/homeview.h"
#include "ui/messagebox.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QLibraryInfo>
#include <QLocale>
#include <QPointer>
#include <QScreen>
#include <QThreadPool>
#include <QTimer>
#include <QTranslator>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>

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

namespace {

// How long quitting waits for work on the pool (a send in progress) before the process ends anyway.
constexpr int quitGraceMs = 300;

// The request of this start for the running program: "show" unless the command line says otherwise.
// --help and --version are answered here and end the process.
QByteArray parseCommandLine(const QCoreApplication &app) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Quick phrases for chat programs."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption show(QStringLiteral("show"), QStringLiteral("Show the window (the default)."));
    const QCommandLineOption quickBar(QStringLiteral("quickbar"),
                                      QStringLiteral("Show or hide the quick bar."));
    const QCommandLineOption quit(QStringLiteral("quit"), QStringLiteral("End the running program."));
    parser.addOptions({show, quickBar, quit});
    parser.process(app);
    if (parser.isSet(quit))
        return QByteArrayLiteral("quit");
    if (parser.isSet(quickBar))
        return QByteArrayLiteral("quickbar");
    return QByteArrayLiteral("show");
}

} // namespace

int main(int argc, char **argv) {
    Q_INIT_RESOURCE(app);
    AppController::prepareProcess();
    QCoreApplication::setApplicationName("quillora");
    QCoreApplication::setOrganizationName("quillora");
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLORA_VERSION));

    // A program already running on this display takes the request and this start ends; the command
    // line and the hand-over need no display, so they come before the GUI.
    InstanceChannel channel;
    {
        QCoreApplication probe(argc, argv);
        const QByteArray request = parseCommandLine(probe);
        if (const std::optional<QByteArray> answer = channel.handOver(request)) {
            if (*answer == InstanceChannel::answerOk)
                return 0;
            std::cerr << "quillora: the running program did not answer" << std::endl;
            return 1;
        }
        if (request == "quit") {
            std::cout << "quillora is not running" << std::endl;
            return 0;
        }
    }

    QApplication app(argc, argv);
    QApplication::setWindowIcon(QIcon(":/icon.svg"));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.quillora.Quillora"));
    // Our texts are Chinese; Qt's own (file dialog, text field menus) follow them.
    QTranslator qtTexts;
    if (qtTexts.load(QLocale(QLocale::Chinese, QLocale::China), QStringLiteral("qtbase"), QStringLiteral("_"),
                     QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&qtTexts);

    AppController listener;
    channel.listen();
    QObject::connect(&channel, &InstanceChannel::requested, &listener, &AppController::handleRequest);
    listener.applicationDidFinishLaunching();
    const QString shot = qEnvironmentVariable("QUILLORA_SCREENSHOT");
    if (!shot.isEmpty())
        unattended(listener, shot);
    const int status = app.exec();
    listener.applicationWillTerminate();
    // Nothing in flight may keep the program alive: the local store is a mirror that the next start
    // replaces, so work still running is cut short rather than waited for.
    if (!QThreadPool::globalInstance()->waitForDone(quitGraceMs)) {
        std::cout << "quitting while work is still running" << std::endl;
        std::fflush(nullptr);
        std::_Exit(status);
    }
    return status;
}
