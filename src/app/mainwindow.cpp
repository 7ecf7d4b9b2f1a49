#include "app/mainwindow.h"

#include <QCloseEvent>

MainWindow::MainWindow(QWidget *parent) : FramedWindow(parent) {
    setWindowTitle("Quillora");
    windowDidLoad();
}

void MainWindow::windowDidLoad() {
    FramedWindow::windowDidLoad();
    isShow = true;
}

void MainWindow::closeEvent(QCloseEvent *event) {
    // The same value as on load, kept as it always was.
    isShow = true;
    FramedWindow::closeEvent(event);
}
