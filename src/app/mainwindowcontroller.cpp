#include "app/mainwindowcontroller.h"

#include <QCloseEvent>

MainWindowController::MainWindowController(QWidget *parent) : SBWindowController(parent) {
    setWindowTitle("Quillora");
    windowDidLoad();
}

void MainWindowController::windowDidLoad() {
    SBWindowController::windowDidLoad();
    isShow = true;
}

void MainWindowController::closeEvent(QCloseEvent *event) {
    // The same value as on load, kept as it always was.
    isShow = true;
    SBWindowController::closeEvent(event);
}
