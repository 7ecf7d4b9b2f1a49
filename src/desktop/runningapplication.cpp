#include "desktop/runningapplication.h"

#include "desktop/desktopbackend.h"

bool RunningApplication::isActive() const {
    const auto active = DesktopBackend::instance().activeApplication();
    return active && active->window == window;
}

QImage RunningApplication::icon() const {
    return DesktopBackend::instance().icon(window);
}

bool RunningApplication::activate() const {
    return DesktopBackend::instance().activate(*this);
}
