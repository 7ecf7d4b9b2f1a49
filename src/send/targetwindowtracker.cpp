#include "send/targetwindowtracker.h"

#include "desktop/desktopbackend.h"
#include "desktop/windowactivation.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>
#include <mutex>
#include <vector>

namespace {

bool running = false;
bool told = false;
std::mutex targetMutex;
std::optional<RunningApplication> target;

struct Listener {
    QPointer<QObject> context;
    std::function<void(TargetWindowTracker::Change)> call;
};
std::vector<Listener> listeners;

void notify(TargetWindowTracker::Change change) {
    std::erase_if(listeners, [](const Listener &l) { return l.context.isNull(); });
    // A copy: a listener may add another one.
    const std::vector<Listener> now = listeners;
    for (const Listener &l : now)
        if (l.context)
            l.call(change);
}

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

bool TargetWindowTracker::isTold() {
    return told;
}

std::optional<RunningApplication> TargetWindowTracker::lastTarget() {
    std::lock_guard lock(targetMutex);
    return target;
}

void TargetWindowTracker::addListener(QObject *context, std::function<void(Change)> listener) {
    listeners.push_back({context, std::move(listener)});
}

void TargetWindowTracker::WindowChangeListener() {
    // Where the desktop says when the window in front changes, the probe runs then, on the GUI
    // thread; the back-end's thread only posts it.
    told = DesktopBackend::instance().watchFront([](DesktopBackend::FrontChange change) {
        const auto hint = change == DesktopBackend::FrontChange::Icon    ? Change::Icon
                          : change == DesktopBackend::FrontChange::Title ? Change::Name
                                                                         : Change::Target;
        if (auto *app = QCoreApplication::instance())
            QMetaObject::invokeMethod(
                app, [hint] { probe(hint); }, Qt::QueuedConnection);
    });
    if (told) {
        probe(std::nullopt);
        return;
    }
    // Otherwise a timer on the GUI thread rather than a pool thread: the pool has as many threads
    // as cores and sends need them. It lives as long as the application object.
    auto *timer = new QTimer(QCoreApplication::instance());
    timer->setInterval(periodMs);
    QObject::connect(timer, &QTimer::timeout, timer, [] { probe(std::nullopt); });
    timer->start();
    probe(std::nullopt);
}

void TargetWindowTracker::probe(std::optional<Change> hint) {
    // This program is recognised by its process: all of its windows carry our pid. Between two
    // focus changes the window manager briefly reports no active window at all; the target is
    // kept then too, or a click from the chat window into ours could lose it.
    auto front = WindowActivation::getForeground();
    if (!front || front->processIdentifier == qint32(QCoreApplication::applicationPid()))
        return;
    std::optional<Change> change;
    {
        std::lock_guard lock(targetMutex);
        if (!target || target->window != front->window ||
            target->processIdentifier != front->processIdentifier)
            change = Change::Target;
        else if (hint == Change::Icon)
            change = Change::Icon;
        else if (target->localizedName != front->localizedName ||
                 target->bundleIdentifier != front->bundleIdentifier)
            change = Change::Name;
        target = std::move(front);
    }
    if (change)
        notify(*change);
}
