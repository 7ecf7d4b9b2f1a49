// render_app OUTDIR [SUFFIX]: the sign-in window, the home window with the demo library, a search and
// the quick bar, light and dark, as app-signin.png, app-signin-dark.png, app-home.png, app-home-dark.png,
// app-search*.png and quickbar*.png (each name ending in SUFFIX), on a private X display against a
// private service. Run it with QT_SCALE_FACTOR=2 for the pictures at 200 %.
#include "app/appcontroller.h"
#include "app/mainwindow.h"
#include "app/session.h"
#include "app/signinview.h"
#include "desktop/desktopbackend.h"
#include "library/homeview.h"
#include "library/librarypanel.h"
#include "library/phraselist.h"
#include "library/searchresultlist.h"
#include "quickbar/quickbar.h"
#include "send/targetwindowtracker.h"
#include "ui/appearance.h"

#include "cloudservice.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QCheckBox>
#include <QDeadlineTimer>
#include <QDir>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QThread>
#include <functional>
#include <iostream>

namespace {

bool waitFor(const std::function<bool()> &done, int ms) {
    QDeadlineTimer deadline(ms);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(10);
    }
    return true;
}

void settle(int ms) {
    waitFor([] { return false; }, ms);
}

QString suffix;

bool save(QWidget *w, const QString &dir, const QString &name) {
    const QString path = QDir(dir).filePath(name + suffix + QStringLiteral(".png"));
    if (!w->grab().save(path)) {
        std::cerr << "render_app: cannot write " << path.toStdString() << std::endl;
        return false;
    }
    std::cout << path.toStdString() << std::endl;
    return true;
}

} // namespace

int main(int argc, char **argv) {
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    suffix = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString();
    QDir().mkpath(out);
    TestEnv env;
    XvfbSession x11;
    if (!x11.start()) {
        std::cerr << "render_app: no Xvfb" << std::endl;
        return 1;
    }
    CloudService cloud;
    if (!cloud.start() || cloud.run({"demo"}) != 0) {
        std::cerr << "render_app: quillora-cloud did not start" << std::endl;
        return 1;
    }
    qputenv("QUILLORA_SERVICE_URL", cloud.baseUrl().toUtf8());
    QApplication app(argc, argv);

    // A chat window to send to, so the target row shows an application.
    QTemporaryDir logs;
    QProcess chat;
    chat.start(PASTETARGET_BINARY,
               {"--log", logs.filePath("chat.log"), "--class", "chat", "--title", "客服工作台"});
    chat.waitForStarted(10000);

    AppController controller;
    controller.start();
    // Each picture in the light scheme, then in the dark one.
    const auto both = [&controller, &out](QWidget *w, const QString &name) {
        bool saved = true;
        for (const auto scheme : {ColorSchemePortal::Scheme::Light, ColorSchemePortal::Scheme::Dark}) {
            controller.appearance().apply(scheme);
            settle(300);
            saved = saved &&
                    save(w, out,
                         scheme == ColorSchemePortal::Scheme::Dark ? name + QStringLiteral("-dark") : name);
        }
        controller.appearance().apply(ColorSchemePortal::Scheme::Light);
        return saved;
    };
    MainWindow &window = *controller.window();
    auto *login = qobject_cast<SignInView *>(window.contentView());
    bool ready = false;
    QObject::connect(login, &SignInView::ready, [&] { ready = true; });
    if (!waitFor([&] { return ready; }, 30000)) {
        std::cerr << "render_app: the sign-in window never became ready" << std::endl;
        return 1;
    }
    login->usernameText->setText("demo");
    login->passwordText->setText("demo123456");
    login->checkBox->setChecked(true);
    settle(300);
    if (!both(&window, "app-signin"))
        return 1;

    HomeView *home = nullptr;
    Session *session = nullptr;
    bool synced = false;
    QObject::connect(&controller, &AppController::sessionStarted, [&](Session *s, HomeView *h) {
        home = h;
        session = s;
        QObject::connect(h, &HomeView::cloudStopped, [&] { synced = true; });
    });
    login->loginButton->click();
    if (!waitFor([&] { return synced; }, 30000)) {
        std::cerr << "render_app: the library never arrived" << std::endl;
        return 1;
    }
    // Bring the chat window forward once so the tracker picks it, then the home window again.
    for (const RunningApplication &a : session->desktop().runningApplications())
        if (a.pid == qint32(chat.processId()))
            session->desktop().activate(a);
    waitFor([session] { return session->tracker().lastTarget().has_value(); }, 5000);
    window.activateWindow();
    home->phraseList()->selectRow(1);
    settle(800);
    if (!both(&window, "app-home"))
        return 1;

    home->searchField()->setText("请");
    settle(500);
    if (!both(&window, "app-search"))
        return 1;
    home->searchField()->clear();
    session->quickBar()->present();
    settle(500);
    if (!both(session->quickBar(), "quickbar"))
        return 1;
    chat.terminate();
    chat.waitForFinished(3000);
    return 0;
}
