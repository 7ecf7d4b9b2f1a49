#include "app/appcontroller.h"
#include "app/instancechannel.h"
#include "app/mainwindow.h"
#include "app/session.h"
#include "app/signinview.h"
#include "library/homeview.h"
#include "model/logging.h"
#include "ui/messageboxanswerer.h"

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
#include <optional>

namespace {

// QUILLORA_SCREENSHOT=FILE: an unattended run. Message boxes are answered by themselves (and printed),
// and once the home window shows the synchronised library it is saved to FILE and the program ends.
void unattended(AppController &controller, const QString &file) {
    new MessageBoxAnswerer(
        [](const MessageBoxAnswerer::Request &r) {
            qCInfo(lcApp, "message box: %s: %s", qUtf8Printable(r.title), qUtf8Printable(r.text));
            return true;
        },
        &controller);
    // A run that never reaches the library ends with an error instead of hanging.
    QTimer::singleShot(120000, &controller, [&controller] {
        qCCritical(lcApp, "quillora: the home window did not show the library in time");
        controller.quit(1);
    });
    auto *login = qobject_cast<SignInView *>(controller.window()->contentView());
    QObject::connect(login, &SignInView::loginFailed, &controller, [&controller](const QString &msg) {
        qCCritical(lcApp, "quillora: sign-in failed: %s", qUtf8Printable(msg));
        controller.quit(1);
    });
    QObject::connect(&controller, &AppController::sessionStarted, &controller,
                     [&controller, file](Session *, HomeView *home) {
                         QObject::connect(home, &HomeView::cloudStopped, &controller, [&controller, file] {
                             // Let the lists and the docking settle before the picture is taken.
                             QTimer::singleShot(800, &controller, [&controller, file] {
                                 QWidget *w = controller.window();
                                 QDir().mkpath(QFileInfo(file).absolutePath());
                                 if (!w || !w->grab().save(file)) {
                                     qCCritical(lcApp, "quillora: could not save %s", qUtf8Printable(file));
                                     controller.quit(1);
                                     return;
                                 }
                                 qCInfo(lcApp, "screenshot: %s",
                                        qUtf8Printable(QFileInfo(file).absoluteFilePath()));
                                 controller.quit(0);
                             });
                         });
                     });
}

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
    const QCommandLineOption palette(
        QStringLiteral("palette"),
        QStringLiteral("Open the search box that sends a phrase from the keyboard."));
    const QCommandLineOption quit(QStringLiteral("quit"), QStringLiteral("End the running program."));
    parser.addOptions({show, quickBar, palette, quit});
    parser.process(app);
    if (parser.isSet(quit))
        return QByteArrayLiteral("quit");
    if (parser.isSet(quickBar))
        return QByteArrayLiteral("quickbar");
    if (parser.isSet(palette))
        return QByteArrayLiteral("palette");
    return QByteArrayLiteral("show");
}

} // namespace

int main(int argc, char **argv) {
    qInstallMessageHandler(logging::printPlainLine);
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
            qCCritical(lcApp, "quillora: the running program did not answer");
            return 1;
        }
        if (request == "quit") {
            qCInfo(lcApp, "quillora is not running");
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

    AppController controller;
    channel.listen();
    QObject::connect(&channel, &InstanceChannel::requested, &controller, &AppController::handleRequest);
    controller.start();
    const QString shot = qEnvironmentVariable("QUILLORA_SCREENSHOT");
    if (!shot.isEmpty())
        unattended(controller, shot);
    const int status = app.exec();
    const bool stopped = controller.shutDown();
    // Nothing in flight may keep the program alive: the local store is a mirror that the next start
    // replaces, so work still running is cut short rather than waited for.
    if (!stopped || !QThreadPool::globalInstance()->waitForDone(quitGraceMs)) {
        qCInfo(lcApp, "quitting while work is still running");
        std::fflush(nullptr);
        std::_Exit(status);
    }
    return status;
}
