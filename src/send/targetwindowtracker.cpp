#include "send/targetwindowtracker.h"

#include "desktop/desktopbackend.h"

#include <QCoreApplication>
#include <QPointer>

TargetWindowTracker::TargetWindowTracker(DesktopBackend &desktop, QObject *parent)
    : QObject(parent), desktop_(desktop) {
    // A timer on the GUI thread rather than a pool thread: the pool has as many threads as cores
    // and sends need them.
    poll_.setInterval(periodMs);
    connect(&poll_, &QTimer::timeout, this, [this] { probe(std::nullopt); });
}

TargetWindowTracker::~TargetWindowTracker() = default;

void TargetWindowTracker::start() {
    if (started_)
        return;
    started_ = true;
    // Where the desktop says when the window in front changes, the probe runs then, on the GUI
    // thread; the back-end's thread only posts it, to a tracker that may be gone by then.
    QPointer<TargetWindowTracker> self(this);
    told_ = desktop_.watchFront([self](DesktopBackend::FrontChange change) {
        const auto hint = change == DesktopBackend::FrontChange::Icon    ? Change::Icon
                          : change == DesktopBackend::FrontChange::Title ? Change::Name
                                                                         : Change::Target;
        if (auto *app = QCoreApplication::instance())
            QMetaObject::invokeMethod(
                app,
                [self, hint] {
                    if (self)
                        self->probe(hint);
                },
                Qt::QueuedConnection);
    });
    if (!told_)
        poll_.start();
    probe(std::nullopt);
}

std::optional<RunningApplication> TargetWindowTracker::lastTarget() const {
    std::lock_guard lock(mutex_);
    return target_;
}

void TargetWindowTracker::probe(std::optional<Change> hint) {
    // This program is recognised by its process: all of its windows carry our pid. Between two
    // focus changes the window manager briefly reports no active window at all; the target is
    // kept then too, or a click from the chat window into ours could lose it.
    auto front = desktop_.activeApplication();
    if (!front || front->pid == qint32(QCoreApplication::applicationPid()))
        return;
    std::optional<Change> change;
    {
        std::lock_guard lock(mutex_);
        if (!target_ || target_->window != front->window || target_->pid != front->pid)
            change = Change::Target;
        else if (hint == Change::Icon)
            change = Change::Icon;
        else if (target_->title != front->title || target_->appId != front->appId)
            change = Change::Name;
        target_ = std::move(front);
    }
    if (change)
        Q_EMIT changed(*change);
}
