#include "send/desktopsession.h"

#include "send/gnome/gnomebackend.h"
#include "send/wayland/waylandbackend.h"
#include "send/x11/x11backend.h"

#include <iostream>

DesktopSession::Kind DesktopSession::detect(const QProcessEnvironment &environment) {
    // A Wayland session also sets DISPLAY when it runs XWayland; WAYLAND_DISPLAY is what decides.
    if (!environment.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty())
        return Kind::Wayland;
    if (environment.value(QStringLiteral("XDG_SESSION_TYPE")) == QLatin1String("wayland") &&
        environment.value(QStringLiteral("DISPLAY")).isEmpty())
        return Kind::Wayland;
    return Kind::X11;
}

std::unique_ptr<DesktopBackend> DesktopSession::createBackend() {
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (detect(environment) == Kind::Wayland && GnomeBackend::isGnome(environment)) {
        auto gnome = std::make_unique<GnomeBackend>();
        if (gnome->available() || environment.value(QStringLiteral("DISPLAY")).isEmpty())
            return gnome;
        std::cout << "GNOME Shell 扩展未启用：只能向 XWayland 窗口发送。启用方法：gnome-extensions enable "
                  << GnomeBackend::extensionUuid << "，然后注销并重新登录" << std::endl;
    } else if (detect(environment) == Kind::Wayland) {
        auto wayland = std::make_unique<WaylandBackend>();
        if (wayland->available() || environment.value(QStringLiteral("DISPLAY")).isEmpty())
            return wayland;
        std::cout << "Wayland compositor without window management for other programs: "
                     "only XWayland windows can receive phrases"
                  << std::endl;
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
