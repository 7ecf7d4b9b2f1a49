#include "app/appcontroller.h"

#include "app/mainwindow.h"
#include "app/signinview.h"
#include "app/trayicon.h"
#include "model/app.h"
#include "send/desktopsession.h"
#include "send/quickbarentry.h"

#include <QAction>
#include <QApplication>
#include <QMetaObject>
#include <QSystemTrayIcon>
#include <QTimer>
#include <iostream>
#include <unistd.h>

AppController::AppController(QObject *parent) : QObject(parent) {}

AppController::~AppController() = default;

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

void AppController::applicationDidFinishLaunching() {
    QuickBarEntry &touchBar = QuickBarEntry::shared();
    touchBar.setupControlStripPresence();
    connect(touchBar.button, &QAction::triggered, this, &AppController::iconClicked);

    // Whether closing the last window ends the program is decided when it happens: a panel with a
    // tray may come up after the program (as at login).
    QApplication::setQuitOnLastWindowClosed(false);
    connect(qApp, &QGuiApplication::lastWindowClosed, this, &AppController::lastWindowClosed);

    tray_ = new TrayIcon(this);
    connect(tray_, &TrayIcon::showRequested, this, &AppController::showWindow);
    connect(tray_, &TrayIcon::quitRequested, this, &AppController::quit);
    tray_->show(); // also without a tray now: Qt docks it once one appears

    window_ = new MainWindow;
    window_->setAttribute(Qt::WA_DeleteOnClose, false);
    auto *login = new SignInView(window_);
    window_->setContentView(login);
    window_->resize(SignInView::windowSize);
    window_->show();
}

void AppController::iconClicked() {
    // The quick bar presents itself above other windows without taking the focus.
    if (App::quickBar)
        QMetaObject::invokeMethod(App::quickBar, "present", Qt::DirectConnection);
    QWidget *w = window_;
    if (!w)
        return;
    if (!QuickBarEntry::isKeyWindow(w)) {
        w->close();
        w->show();
        w->raise();
        w->activateWindow();
    } else {
        // Hidden, not closed: this entry never ends the program.
        w->hide();
    }
}

bool AppController::applicationShouldHandleReopen(bool hasVisibleWindows) {
    std::cout << "flag = " << (hasVisibleWindows ? "true" : "false") << std::endl;
    if (!hasVisibleWindows && window_) {
        // Closing before showing is how it has always been done.
        window_->close();
        window_->show();
        window_->raise();
        window_->activateWindow();
    }
    return true;
}

void AppController::handleRequest(const QByteArray &request) {
    std::cout << "request from another start: " << request.toStdString() << std::endl;
    if (request == "quit") {
        quit();
    } else if (request == "quickbar") {
        // Before sign-in there is no quick bar yet: the window is the way on.
        if (!QuickBarEntry::toggleQuickBar())
            showWindow();
    } else {
        showWindow();
    }
}

void AppController::showWindow() {
    applicationShouldHandleReopen(window_ && window_->isVisible());
    if (window_) {
        window_->raise();
        window_->activateWindow();
    }
}

void AppController::lastWindowClosed() {
    // Looked at once the current gesture is over: reopening closes a window and shows it again.
    QTimer::singleShot(0, this, [] {
        if (QSystemTrayIcon::isSystemTrayAvailable())
            return;
        for (QWidget *w : QApplication::topLevelWidgets())
            if (w->isVisible() && w->testAttribute(Qt::WA_QuitOnClose))
                return;
        std::cout << "last window closed without a system tray: quitting" << std::endl;
        quit();
    });
}

void AppController::quit() {
    // exit(), not quit(): quit() asks every window first and a dialog that is uploading says no.
    QCoreApplication::exit(0);
}

void AppController::applicationWillTerminate() {}
