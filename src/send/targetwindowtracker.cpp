#include "send/targetwindowtracker.h"

#include "send/desktopbackend.h"
#include "send/windowactivation.h"

#include <QCoreApplication>
#include <QTimer>
#include <mutex>

namespace {

bool running = false;
std::mutex targetMutex;
std::optional<RunningApplication> target;

} // namespace

void TargetWindowTracker::start() {
    if (running)
        return;
    running = true;
    WindowChangeListener();
}

bool TargetWindowTracker::isRun() {
    return running;
}

std::optional<RunningApplication> TargetWindowTracker::lastTarget() {
    std::lock_guard lock(targetMutex);
    return target;
}

void TargetWindowTracker::WindowChangeListener() {
    // Where the desktop says when the window in front changes, the probe runs then, on the GUI
    // thread; the back-end's thread only posts it.
    const bool told = DesktopBackend::instance().watchFront([] {
        if (auto *app = QCoreApplication::instance())
            QMetaObject::invokeMethod(
                app, [] { probe(); }, Qt::QueuedConnection);
    });
    if (told) {
        probe();
        return;
    }
    // Otherwise a timer on the GUI thread rather than a pool thread: the pool has as many threads
    // as cores and sends need them. It lives as long as the application object.
    auto *timer = new QTimer(QCoreApplication::instance());
    timer->setInterval(periodMs);
    QObject::connect(timer, &QTimer::timeout, timer, [] { probe(); });
    timer->start();
    probe();
}

void TargetWindowTracker::probe() {
    // This program is recognised by its process: all of its windows carry our pid. Between two
    // focus changes the window manager briefly reports no active window at all; the target is
    // kept then too, or a click from the chat window into ours could lose it.
    auto front = WindowActivation::getForeground();
    if (!front || front->processIdentifier == qint32(QCoreApplication::applicationPid()))
        return;
    std::lock_guard lock(targetMutex);
    target = std::move(front);
}
