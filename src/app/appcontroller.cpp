#include "app/appcontroller.h"

#include "app/librarydialogs.h"
#include "app/mainwindow.h"
#include "app/session.h"
#include "app/signinview.h"
#include "app/trayicon.h"
#include "app/webviewmodule.h"
#include "cloud/cloudclient.h"
#include "desktop/desktopbackend.h"
#include "desktop/desktopsession.h"
#include "library/homeview.h"
#include "model/logging.h"
#include "model/settings.h"
#include "quickbar/quickbar.h"
#include "ui/appearance.h"

#include <QAction>
#include <QApplication>
#include <QSystemTrayIcon>
#include <QThread>
#include <QTimer>
#include <unistd.h>

AppController::AppController(QObject *parent)
    : QObject(parent), settings_(std::make_unique<Settings>()), appearance_(std::make_unique<Appearance>()),
      cloud_(std::make_unique<CloudClient>(*settings_)), webView_(std::make_unique<WebViewModule>()) {}

AppController::~AppController() {
    shutDown();
    window_.reset();
}

void AppController::prepareProcess() {
    // The windows are plain widgets. Without this OpenGL is set up at start-up (for the contexts the
    // web view module shares), which on a machine without a GPU loads a software renderer of some
    // 50 MB for nothing; the register and reset pages render fine in software. These settings are
    // made here because the web engine reads them only when the module is loaded.
    if (!qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION") &&
        !qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) {
        qputenv("QT_XCB_GL_INTEGRATION", "none");
        qputenv("QT_QUICK_BACKEND", "software");
    }
    // The web engine's sandbox refuses to start for root; the pages shown are the service's own.
    if (geteuid() == 0 && !qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    DesktopSession::prepareOwnWindows();
}

void AppController::start() {
    // Whether closing the last window ends the program is decided when it happens: a panel with a
    // tray may come up after the program (as at login).
    QApplication::setQuitOnLastWindowClosed(false);
    connect(qApp, &QGuiApplication::lastWindowClosed, this, &AppController::lastWindowClosed);

    tray_ = new TrayIcon(this);
    connect(tray_, &TrayIcon::showRequested, this, &AppController::showWindow);
    connect(tray_, &TrayIcon::quickBarRequested, this, &AppController::toggleFromTray);
    connect(tray_, &TrayIcon::quitRequested, this, [this] { quit(); });
    tray_->show(); // also without a tray now: Qt docks it once one appears

    window_ = std::make_unique<MainWindow>();
    window_->setAttribute(Qt::WA_DeleteOnClose, false);
    auto *login = new SignInView(*settings_, *cloud_, *webView_, window_.get());
    connect(login, &SignInView::signedIn, this, &AppController::startSession);
    connect(login, &SignInView::endRequested, this, &AppController::quit);
    window_->setContentView(login);
    window_->resize(SignInView::windowSize);
    window_->show();
}

void AppController::startSession(const QString &username) {
    session_ = std::make_unique<Session>(*settings_, *cloud_, username);
    connect(session_.get(), &Session::endRequested, this, [this](int status, const QString &message) {
        if (!message.isEmpty())
            qCCritical(lcApp, "%s", qUtf8Printable(message));
        quit(status);
    });
    auto *home = new HomeView(session_->library(), session_->storeOpened());
    librarydialogs::attach(home, session_->library());
    connect(home, &HomeView::quickBarToggleRequested, session_.get(), &Session::toggleQuickBar);
    if (window_)
        window_->setContentView(home); // deletes the sign-in view later
    else
        home->show();
    session_->start(*home);
    Q_EMIT sessionStarted(session_.get(), home);
}

void AppController::toggleFromTray() {
    // The quick bar presents itself above other windows without taking the focus.
    if (session_ && session_->quickBar())
        session_->quickBar()->present();
    QWidget *w = window_.get();
    if (!w)
        return;
    if (!isActiveOnDesktop(w)) {
        w->close();
        w->show();
        w->raise();
        w->activateWindow();
    } else {
        // Hidden, not closed: this entry never ends the program.
        w->hide();
    }
}

bool AppController::isActiveOnDesktop(QWidget *window) const {
    if (!window->isVisible())
        return false;
    // Before sign-in there is no desktop back-end yet.
    if (!session_ || !session_->desktop().available())
        return window->isActiveWindow();
    DesktopBackend &desktop = session_->desktop();
    const quint64 own = window->winId();
    const auto isActive = [&desktop, own] {
        const auto active = desktop.activeApplication();
        return active && active->window == own;
    };
    // When Qt has just heard of the focus, the window manager may not have recorded it yet: a moment
    // for the two to agree.
    for (int i = 0; i < 10 && window->isActiveWindow(); ++i) {
        if (isActive())
            return true;
        QThread::msleep(10);
    }
    return isActive();
}

void AppController::reopen(bool hasVisibleWindows) {
    qCInfo(lcApp, "flag = %s", hasVisibleWindows ? "true" : "false");
    if (!hasVisibleWindows && window_) {
        // Closing before showing is how it has always been done.
        window_->close();
        window_->show();
        window_->raise();
        window_->activateWindow();
    }
}

void AppController::handleRequest(const QByteArray &request) {
    qCInfo(lcApp, "request from another start: %s", request.constData());
    if (request == "quit") {
        quit();
    } else if (request == "palette") {
        // Before sign-in there is nothing to search: the window is the way on.
        if (session_ && session_->palette())
            session_->showPalette();
        else
            showWindow();
    } else if (request == "quickbar") {
        // Before sign-in there is no quick bar yet: the window is the way on.
        if (session_ && session_->quickBar())
            session_->toggleQuickBar();
        else
            showWindow();
    } else {
        showWindow();
    }
}

void AppController::showWindow() {
    reopen(window_ && window_->isVisible());
    if (window_) {
        window_->raise();
        window_->activateWindow();
    }
}

void AppController::lastWindowClosed() {
    // Looked at once the current gesture is over: reopening closes a window and shows it again.
    QTimer::singleShot(0, this, [this] {
        if (QSystemTrayIcon::isSystemTrayAvailable())
            return;
        for (QWidget *w : QApplication::topLevelWidgets())
            if (w->isVisible() && w->testAttribute(Qt::WA_QuitOnClose))
                return;
        qCInfo(lcApp, "last window closed without a system tray: quitting");
        quit();
    });
}

void AppController::quit(int status) {
    // exit(), not quit(): quit() asks every window first and a dialog that is uploading says no.
    QCoreApplication::exit(status);
}

bool AppController::shutDown() {
    if (session_ && !session_->stopSending()) {
        // A send thread still uses the session's objects: they stay until the process ends.
        (void)session_.release();
        return false;
    }
    // The home view refers to the session's stores: it goes first.
    window_.reset();
    session_.reset();
    return true;
}
