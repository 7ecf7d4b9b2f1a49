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

void askSwayToPlace(quint64 x11Window, const QRect &geometry, QDeadlineTimer deadline) {
    const QString command =
        QStringLiteral("[id=%1] floating enable, resize set %2 px %3 px, move absolute position %4 px %5 px")
            .arg(x11Window)
            .arg(geometry.width())
            .arg(geometry.height())
            .arg(geometry.x())
            .arg(geometry.y());
    SwayCommand::run(command, [=](const QString &error) {
        if (error.isEmpty())
            return;
        if (!deadline.hasExpired() && error.contains(QLatin1String("No matching"))) {
            QTimer::singleShot(placeRetryMs, qApp, [=] { askSwayToPlace(x11Window, geometry, deadline); });
            return;
        }
        qCInfo(lcDesktop, "sway did not place the window: %s", qUtf8Printable(error));
    });
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
    if (SwayCommand::available() && QGuiApplication::platformName() == QLatin1String("xcb"))
        askSwayToPlace(x11Window, geometry, QDeadlineTimer(placeWithinMs));
}
