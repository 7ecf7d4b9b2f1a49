#pragma once

#include <QObject>
#include <QPointer>

class MainWindow;

// Reactions of the application to launch, the quick-bar icon, reopening and termination.
class AppController : public QObject {
    Q_OBJECT
public:
    explicit AppController(QObject *parent = nullptr);

    // Process settings that must be made before the QApplication exists.
    static void prepareProcess();

    MainWindow *window() const { return window_; }

    // Makes the one window with the sign-in view and shows it.
    void applicationDidFinishLaunching();
    // Toggles the window: hides it when it is the active window, else brings it to the front.
    void iconClicked();
    // Shows the window again when none is visible; always true.
    bool applicationShouldHandleReopen(bool hasVisibleWindows);
    void applicationWillTerminate();

private:
    QPointer<MainWindow> window_;
};
