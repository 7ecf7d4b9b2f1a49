#include "send/phrasesender.h"

#include "model/contentformat.h"
#include "send/phrasedelivery.h"
#include "send/sendplan.h"
#include "send/targetwindowtracker.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <atomic>
#include <iostream>
#include <thread>

namespace {

std::atomic<bool> running{false};
std::atomic<bool> sending{false};
std::atomic<bool> quitting{false};
std::function<void(const QString &)> reporter;

void report(const DeliveryResult &result) {
    if (!result.isDelivered())
        std::cout << result.logLine().toStdString() << std::endl;
    const QString message = result.message();
    auto *app = QCoreApplication::instance();
    if (message.isEmpty() || !app || quitting)
        return;
    QMetaObject::invokeMethod(
        app,
        [message] {
            if (reporter)
                reporter(message);
        },
        Qt::QueuedConnection);
}

// A send still running when the application object goes away stops at its next step and is
// waited for, so that it never reaches a clipboard or an application object that no longer exists.
void stopSending() {
    quitting = true;
    QDeadlineTimer deadline(PasteLanding::maxWaitMs + 1000);
    while (sending && !deadline.hasExpired())
        QThread::msleep(5);
}

} // namespace

void PhraseSender::send(const QString &jsonValue, bool isEnter) {
    if (running)
        return;
    running = true;
    // Left set on purpose: after content that does not parse, nothing more is sent.
    const auto items = parseContent(jsonValue);
    if (!items)
        return;
    const QDeadlineTimer startBy(startWithinMs);
    const auto target = TargetWindowTracker::lastTarget();
    if (!target) {
        report(DeliveryResult::dropped(DeliveryResult::Reason::NoTarget));
        running = false;
        return;
    }
    SendPlan plan = SendPlan::make(*items, *target, isEnter);
    if (plan.steps.isEmpty()) {
        running = false;
        return;
    }
    static const bool hooked = [] {
        qAddPostRoutine(stopSending);
        return true;
    }();
    Q_UNUSED(hooked);
    quitting = false;
    sending = true;
    // A thread of its own: the global pool may be full of work that waits for the GUI thread.
    std::thread([plan = std::move(plan), startBy] {
        report(PhraseDelivery::run(plan, startBy, quitting));
        running = false;
        sending = false;
    }).detach();
}

bool PhraseSender::runs() {
    return running;
}

void PhraseSender::setReporter(std::function<void(const QString &)> callback) {
    reporter = std::move(callback);
}
