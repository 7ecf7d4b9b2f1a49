#pragma once

#include "model/signedinuser.h"

#include <QObject>
#include <QPointer>

class AppSettings;

// Process-wide state, read and written on the GUI thread; members are created lazily on first use.
class App {
public:
    App() = delete;

    static SignedInUser &userInfo();
    // The shared settings store; defined with AppSettings in the cloud layer.
    static AppSettings &setting();
    static constexpr int version = 1;
    // The quick bar that shows the phrase library, once the home window has made it.
    static QPointer<QObject> quickBar;
    // The tray icon's menu (a QMenu), made at launch.
    static QPointer<QObject> trayMenu;
};
