#pragma once

#include <QProcess>
#include <QString>
#include <memory>

#include "sessionbus.h"
#include "testenv.h"

// Tests using QUILLORA_X11_TEST_MAIN include <QApplication> and <QtTest>.

// A private X display (Xvfb) with a window manager, for tests that need a desktop. Start it before the
// QApplication: it sets DISPLAY and QT_QPA_PLATFORM=xcb for this process.
// QUILLORA_TEST_WM picks the manager: openbox (the default), xfwm4 or mutter (these two get a private
// session bus of their own). QUILLORA_TEST_SCREEN sets the screen's size (1280x800 by default).
class XvfbSession {
public:
    XvfbSession() = default;
    ~XvfbSession();

    bool start(bool withWindowManager = true);
    void stop();
    QString display() const { return display_; }
    // The manager's program name; empty without one.
    QString windowManager() const { return windowManager_; }

private:
    QProcess xvfb_;
    QProcess wm_;
    std::unique_ptr<SessionBus> bus_;
    QString display_;
    QString windowManager_;
};

// main() for a Qt Test class that needs an X display: isolates user data, starts Xvfb and openbox,
// then runs the tests in a QApplication on that display.
#define QUILLORA_X11_TEST_MAIN(TestObject) QUILLORA_X11_TEST_MAIN_PREPARED(TestObject, )

// The same, running `prepare` (process-wide settings such as environment variables) before the
// display and the application exist.
#define QUILLORA_X11_TEST_MAIN_PREPARED(TestObject, prepare)                                                 \
    int main(int argc, char **argv) {                                                                        \
        TestEnv env;                                                                                         \
        prepare;                                                                                             \
        XvfbSession x11;                                                                                     \
        if (!x11.start())                                                                                    \
            qFatal("could not start Xvfb");                                                                  \
        QApplication app(argc, argv);                                                                        \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                             \
        TestObject tc;                                                                                       \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }
