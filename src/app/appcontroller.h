#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>

class MainWindow;
class TrayIcon;

// Reactions of the application to launch, the quick-bar icon, reopening, requests of later starts
// and termination.
class AppController : public QObject {
    Q_OBJECT
public:
    explicit AppController(QObject *parent = nullptr);
    ~AppController() override;

    // Process settings that must be made before the QApplication exists.
    static void prepareProcess();

    MainWindow *window() const { return window_; }
    TrayIcon *trayIcon() const { return tray_; }

    // Shows the tray icon and the one window with the sign-in view.
    void applicationDidFinishLaunching();
    // Presents the quick bar and toggles the window: hides it when it is the active window, else
    // brings it to the front.
    void iconClicked();
    // Shows the window again when none is visible; always true.
    bool applicationShouldHandleReopen(bool hasVisibleWindows);
    // A later start's request: "show" (reopen and raise), "quickbar" (toggle it), "quit".
    void handleRequest(const QByteArray &request);
    // Ends the event loop whatever the windows say (a busy dialog refuses to close).
    static void quit();
    void applicationWillTerminate();

private:
    void showWindow();
    void lastWindowClosed();

    QPointer<MainWindow> window_;
    TrayIcon *tray_ = nullptr;
};
