#include "send/phrasesender.h"

#include "model/logging.h"
#include "model/phrasecontent.h"
#include "model/settings.h"
#include "send/sendplan.h"
#include "send/targetwindowtracker.h"

#include <QDeadlineTimer>
#include <QThread>

PhraseSender::PhraseSender(const Settings &settings, DesktopBackend &desktop, TargetWindowTracker &tracker,
                           QObject *parent)
    : QObject(parent), settings_(settings), tracker_(tracker), delivery_(desktop) {}

PhraseSender::~PhraseSender() {
    stop();
}

bool PhraseSender::stop(int waitMs) {
    run_->cancel = true;
    QDeadlineTimer deadline(waitMs);
    while (run_->sending && !deadline.hasExpired())
        QThread::msleep(5);
    if (run_->sending) {
        qCInfo(lcSend, "quitting while a send is still running");
        // One stuck inside the desktop cannot be joined; it ends with the process.
        if (thread_.joinable())
            thread_.detach();
        return false;
    }
    if (thread_.joinable())
        thread_.join();
    return true;
}

void PhraseSender::report(const DeliveryResult &result) {
    if (!result.isDelivered())
        qCInfo(lcSend, "%s", qUtf8Printable(result.logLine()));
    const QString message = result.message();
    if (message.isEmpty())
        return;
    // From the send thread the signal is queued to the GUI thread's receivers.
    Q_EMIT reported(message);
}

void PhraseSender::send(const PhraseContent &content, bool isEnter) {
    if (isRunning())
        return;
    // After content that does not parse, nothing more is sent.
    if (!content.isValid()) {
        blocked_ = true;
        return;
    }
    const QDeadlineTimer startBy(startWithinMs);
    const auto target = tracker_.lastTarget();
    if (!target) {
        report(DeliveryResult::dropped(DeliveryResult::Reason::NoTarget));
        return;
    }
    SendPlan plan =
        SendPlan::make(content, *target, isEnter, SendPlan::pauseModeOf(settings_.sendPauseMode()),
                       target->appId ? settings_.pasteKeys(*target->appId) : QString());
    if (plan.steps.isEmpty())
        return;
    // The previous send's thread has ended (it was no longer sending).
    if (thread_.joinable())
        thread_.join();
    run_->cancel = false;
    run_->sending = true;
    // A thread of its own: the global pool may be full of work that waits for the GUI thread.
    thread_ = std::thread([this, run = run_, plan = std::move(plan), startBy] {
        const DeliveryResult result = delivery_.run(plan, startBy, run->cancel);
        if (!run->cancel)
            report(result);
        run->sending = false;
    });
}
