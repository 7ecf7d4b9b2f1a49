#include "desktop/windowactivation.h"

#include "desktop/desktopbackend.h"

std::optional<RunningApplication> WindowActivation::getForeground() {
    return DesktopBackend::instance().activeApplication();
}

std::optional<RunningApplication> WindowActivation::getBundleIdentifier(const QString &bundleIdentifier) {
    for (const RunningApplication &app : DesktopBackend::instance().runningApplications())
        if (app.bundleIdentifier == bundleIdentifier)
            return app;
    return std::nullopt;
}

bool WindowActivation::activate(const RunningApplication &handle) {
    return handle.activate();
}

QList<RunningApplication> WindowActivation::runningApplications() {
    return DesktopBackend::instance().runningApplications();
}
