#include "desktop/desktopsession.h"

#include "desktop/gnome/gnomebackend.h"
#include "desktop/swaycommand.h"
#include "desktop/wayland/waylandbackend.h"
#include "desktop/x11/x11backend.h"
#include "model/logging.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QTimer>

namespace {

// sway learns of a window a moment after it is shown, through XWayland: until then no window
// matches. On a busy machine that moment can last seconds, and a window left to sway stays tiled.
constexpr int placeWithinMs = 15000;
constexpr int placeRetryMs = 50;
constexpr int placeAgainMs = 300;

// Runs a command for one of our XWayland windows ("[id=N] " goes before it), again while sway does
// not know the window yet; `what` says what it was for when it fails. With `again`, the command is
// given once more after it took: a window sway has just mapped may still draw at the size sway gave
// it first, and sway then takes that size for the floating window.
void askSway(quint64 x11Window, const QString &command, const char *what, QDeadlineTimer deadline,
             bool again = false) {
    SwayCommand::run(QStringLiteral("[id=%1] ").arg(x11Window) + command, [=](const QString &error) {
        if (error.isEmpty()) {
            if (again)
                QTimer::singleShot(placeAgainMs, qApp,
                                   [=] { askSway(x11Window, command, what, deadline, false); });
            return;
        }
        if (!deadline.hasExpired() && error.contains(QLatin1String("No matching"))) {
            QTimer::singleShot(placeRetryMs, qApp,
                               [=] { askSway(x11Window, command, what, deadline, again); });
            return;
        }
        qCInfo(lcDesktop, "sway did not %s the window: %s", what, qUtf8Printable(error));
    });
}

bool throughSway() {
    return SwayCommand::available() && QGuiApplication::platformName() == QLatin1String("xcb");
}

} // namespace

DesktopSession::Kind DesktopSession::detect(const QProcessEnvironment &environment) {
    // A Wayland session also sets DISPLAY when it runs XWayland; WAYLAND_DISPLAY is what decides.
    if (!environment.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty())
        return Kind::Wayland;
    if (environment.value(QStringLiteral("XDG_SESSION_TYPE")) == QLatin1String("wayland") &&
        environment.value(QStringLiteral("DISPLAY")).isEmpty())
        return Kind::Wayland;
    return Kind::X11;
}

std::unique_ptr<DesktopBackend> DesktopSession::createBackend(Settings &settings) {
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (detect(environment) == Kind::Wayland && GnomeBackend::isGnome(environment)) {
        auto gnome = std::make_unique<GnomeBackend>(settings);
        if (gnome->available() || environment.value(QStringLiteral("DISPLAY")).isEmpty())
            return gnome;
        qCInfo(lcDesktop,
               "GNOME Shell 扩展未启用：只能向 XWayland 窗口发送。启用方法：gnome-extensions enable "
               "%s，然后注销并重新登录",
               GnomeBackend::extensionUuid);
    } else if (detect(environment) == Kind::Wayland) {
        auto wayland = std::make_unique<WaylandBackend>();
        if (wayland->available() || environment.value(QStringLiteral("DISPLAY")).isEmpty()) {
            wayland->sayWhatIsMissing();
            return wayland;
        }
        qCInfo(lcDesktop, "Wayland compositor without window management for other programs: "
                          "only XWayland windows can receive phrases");
    }
    return std::make_unique<X11Backend>();
}

void DesktopSession::prepareOwnWindows() {
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (detect(environment) != Kind::Wayland || environment.value(QStringLiteral("DISPLAY")).isEmpty() ||
        environment.contains(QStringLiteral("QT_QPA_PLATFORM")))
        return;
    qputenv("QT_QPA_PLATFORM", "xcb");
}

void DesktopSession::placeOwnWindow(quint64 x11Window, const QRect &geometry) {
    // Only our windows through XWayland have an X11 id sway knows.
    if (throughSway())
        askSway(x11Window,
                QStringLiteral("floating enable, resize set %1 px %2 px, move absolute position %3 px %4 px")
                    .arg(geometry.width())
                    .arg(geometry.height())
                    .arg(geometry.x())
                    .arg(geometry.y()),
                "place", QDeadlineTimer(placeWithinMs), true);
}

void DesktopSession::focusOwnWindow(quint64 x11Window) {
    if (throughSway())
        askSway(x11Window, QStringLiteral("focus"), "focus", QDeadlineTimer(placeWithinMs));
}
