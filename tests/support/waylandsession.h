#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QRect>
#include <QString>
#include <QTemporaryDir>

#include "testenv.h"

// Tests using QUILLORA_SWAY_TEST_MAIN include <QApplication> and <QtTest>.

// A private headless Wayland desktop with XWayland, for tests that need one: sway, or cage (a
// compositor that offers other programs neither its windows nor keys). Start it before the
// QApplication: it sets WAYLAND_DISPLAY and DISPLAY for this process, and runs this process's own
// windows through XWayland, as the program does in a Wayland session.
class WaylandSession {
public:
    enum class Compositor { Sway, Cage };

    explicit WaylandSession(Compositor compositor = Compositor::Sway) : compositor_(compositor) {}
    ~WaylandSession();

    bool start();
    void stop();
    QString waylandDisplay() const { return wayland_; }
    QString display() const { return display_; }
    // A sway command, as the user's key bindings would run it; true when sway carried it out.
    // The three below ask sway and get nothing from cage.
    bool command(const QString &text) const;
    // The application id (for an XWayland window its X class) of the focused window; empty when
    // none has the focus.
    QString focusedAppId() const;
    // Where sway put the XWayland window, its frame included; empty when sway does not show it.
    QRect windowRect(quint64 x11Window) const;

private:
    QJsonObject tree() const;
    QString swaymsg(const QStringList &args, bool *ok) const;

    Compositor compositor_;
    QTemporaryDir dir_;
    QProcess compositorProcess_;
    QString wayland_, display_, socket_;
};

// main() for a Qt Test class that needs a Wayland desktop: isolates user data, starts sway, then
// runs the tests in a QApplication whose windows go through XWayland.
#define QUILLORA_SWAY_TEST_MAIN(TestObject)                                                                  \
    int main(int argc, char **argv) {                                                                        \
        TestEnv env;                                                                                         \
        WaylandSession sway;                                                                                 \
        if (!sway.start())                                                                                   \
            qFatal("could not start sway");                                                                  \
        QApplication app(argc, argv);                                                                        \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                             \
        TestObject tc(sway);                                                                                 \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }
