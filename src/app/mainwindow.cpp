#include "app/mainwindow.h"

#include <QVBoxLayout>

MainWindow::MainWindow(QWidget *parent) : QWidget(parent, Qt::Window) {
    setWindowTitle(QStringLiteral("Quillora"));
    layout_ = new QVBoxLayout(this);
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSpacing(0);
}

void MainWindow::setContentView(QWidget *view) {
    if (content_ == view)
        return;
    if (content_) {
        layout_->removeWidget(content_);
        content_->deleteLater();
    }
    content_ = view;
    if (view) {
        view->setParent(this);
        layout_->addWidget(view, 1);
        view->show();
    }
}
