#pragma once

#include "ui/framedwindow.h"

// The application's one window: the sign-in view first, then the home view in its place.
class MainWindow : public FramedWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);

    bool isShow = false;

protected:
    void windowDidLoad() override;
    void closeEvent(QCloseEvent *event) override;
};
