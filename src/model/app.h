#pragma once

#include "model/datauserfrom.h"

#include <QObject>
#include <QPointer>

class AppSetting;

// Process-wide state, read and written on the GUI thread; members are created lazily on first use.
class App {
public:
    App() = delete;

    static DataUserFrom &userInfo();
    // The shared settings store; defined with AppSetting in the cloud layer.
    static AppSetting &setting();
    static constexpr int version = 1;
    // The quick bar that shows the phrase library, once the home window has made it.
    static QPointer<QObject> wordTouchBar;
};
