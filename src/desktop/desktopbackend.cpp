#include "desktop/desktopbackend.h"

bool DesktopBackend::setClipboard(const QList<std::pair<QByteArray, QByteArray>> &, bool) {
    return false;
}

bool DesktopBackend::watchFront(std::function<void(FrontChange)>) {
    return false;
}

std::optional<QList<std::pair<QByteArray, QByteArray>>> DesktopBackend::clipboardContent(qint64, bool *) {
    return std::nullopt;
}

bool DesktopBackend::awaitClipboardTaken(const std::atomic<bool> &) {
    return true;
}
