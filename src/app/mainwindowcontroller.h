#pragma once

#include "ui/sbwindowcontroller.h"

// The application's one window: the sign-in view first, then the home view in its place.
class MainWindowController : public SBWindowController {
    Q_OBJECT
public:
    explicit MainWindowController(QWidget *parent = nullptr);

    bool isShow = false;

protected:
    void windowDidLoad() override;
    void closeEvent(QCloseEvent *event) override;
};
