#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <memory>

class HomeView;
class CloudClient;
class WebViewModule;
class MainWindow;
class Session;
class Settings;
class TrayIcon;
class Appearance;

// The application object: lives for the process, owns the tray icon and the one window, and while
// someone is signed in, the Session. It alone decides that the program ends.
class AppController : public QObject {
    Q_OBJECT
public:
    explicit AppController(QObject *parent = nullptr);
    ~AppController() override;

    // Process settings that must be made before the QApplication exists.
    static void prepareProcess();

    MainWindow *window() const { return window_.get(); }
    TrayIcon *trayIcon() const { return tray_; }
    Settings &settings() { return *settings_; }
    CloudClient &cloud() { return *cloud_; }
    Appearance &appearance() { return *appearance_; }
    // The signed-in user's session; null before sign-in.
    Session *session() const { return session_.get(); }

    // Shows the tray icon and the one window with the sign-in view.
    void start();
    // Presents the quick bar and toggles the window: hides it when it is the active window, else
    // brings it to the front.
    void toggleFromTray();
    // Shows the window again when none is visible.
    void reopen(bool hasVisibleWindows);
    // A later start's request: "show" (reopen and raise), "quickbar" (toggle it), "palette" (open the
    // keyboard palette), "quit".
    void handleRequest(const QByteArray &request);
    // Ends the event loop whatever the windows say (a busy dialog refuses to close).
    void quit(int status = 0);
    // Ends the session before the application object goes away. False when a send is stuck inside
    // the desktop: the session is then left to the end of the process, which must come at once.
    bool shutDown();

Q_SIGNALS:
    // A user signed in: the session runs and the home view shows its library.
    void sessionStarted(Session *session, HomeView *home);

private:
    void startSession(const QString &username);
    void showWindow();
    void lastWindowClosed();
    // Whether the window is the desktop's active window. Qt's own answer is not used: while the tray
    // menu is open it counts the menu's parent window as active, whichever window has the focus.
    bool isActiveOnDesktop(QWidget *window) const;

    // Needed before anyone signs in: the sign-in view reads and writes both.
    std::unique_ptr<Settings> settings_;
    std::unique_ptr<Appearance> appearance_;
    std::unique_ptr<CloudClient> cloud_;
    std::unique_ptr<WebViewModule> webView_;
    std::unique_ptr<MainWindow> window_;
    TrayIcon *tray_ = nullptr;
    std::unique_ptr<Session> session_;
};
