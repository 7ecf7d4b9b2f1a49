#pragma once

#include <QObject>
#include <QPointer>

class MainWindowController;

// Reactions of the application to launch, the quick-bar icon, reopening and termination.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    explicit AppDelegate(QObject *parent = nullptr);

    // Process settings that must be made before the QApplication exists.
    static void prepareProcess();

    MainWindowController *window() const { return window_; }

    // Makes the one window with the sign-in view and shows it.
    void applicationDidFinishLaunching();
    // Toggles the window: hides it when it is the active window, else brings it to the front.
    void IconButtonClick();
    // Shows the window again when none is visible; always true.
    bool applicationShouldHandleReopen(bool hasVisibleWindows);
    void applicationWillTerminate();

private:
    QPointer<MainWindowController> window_;
};
