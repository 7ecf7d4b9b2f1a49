#include "desktop/desktopbackend.h"

bool DesktopBackend::setClipboard(const QList<std::pair<QByteArray, QByteArray>> &, bool) {
    return false;
}

bool DesktopBackend::watchFront(std::function<void(FrontChange)>) {
    return false;
}

void DesktopBackend::awaitClipboardTaken(const std::atomic<bool> &) {}
