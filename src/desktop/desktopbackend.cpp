#include "desktop/desktopbackend.h"

#include "desktop/desktopsession.h"

#include <QCoreApplication>
#include <mutex>

namespace {

std::unique_ptr<DesktopBackend> &slot() {
    static std::unique_ptr<DesktopBackend> backend;
    return backend;
}

std::mutex &slotMutex() {
    static std::mutex m;
    return m;
}

// The display connection is closed with the application object, while the display still exists;
// closing it from a static destructor after the X server went away would end the process in Xlib.
void dropBackend() {
    std::lock_guard lock(slotMutex());
    slot().reset();
}

} // namespace

DesktopBackend &DesktopBackend::instance() {
    std::lock_guard lock(slotMutex());
    auto &backend = slot();
    if (!backend) {
        backend = DesktopSession::createBackend();
        qAddPostRoutine(dropBackend);
    }
    return *backend;
}

void DesktopBackend::setInstance(std::unique_ptr<DesktopBackend> backend) {
    std::lock_guard lock(slotMutex());
    if (!slot())
        qAddPostRoutine(dropBackend);
    slot() = std::move(backend);
}

bool DesktopBackend::setClipboard(const QList<std::pair<QByteArray, QByteArray>> &, bool) {
    return false;
}

bool DesktopBackend::watchFront(std::function<void(FrontChange)>) {
    return false;
}

void DesktopBackend::awaitClipboardTaken(const std::atomic<bool> &) {}
