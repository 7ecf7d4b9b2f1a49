#include "send/win32apiwindow.h"

#include "send/desktopbackend.h"

std::optional<RunningApplication> Win32ApiWindow::getForeground() {
    return DesktopBackend::instance().activeApplication();
}

std::optional<RunningApplication> Win32ApiWindow::getBundleIdentifier(const QString &bundleIdentifier) {
    for (const RunningApplication &app : DesktopBackend::instance().runningApplications())
        if (app.bundleIdentifier == bundleIdentifier)
            return app;
    return std::nullopt;
}

bool Win32ApiWindow::setForeguangd(const RunningApplication &handle) {
    return handle.setForeguangd_();
}

QList<RunningApplication> Win32ApiWindow::runningApplications() {
    return DesktopBackend::instance().runningApplications();
}
