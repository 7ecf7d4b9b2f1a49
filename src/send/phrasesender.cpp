#include "send/phrasesender.h"

#include "model/contentformat.h"
#include "send/phrasedelivery.h"
#include "send/targetwindowtracker.h"

#include <QThreadPool>
#include <atomic>

namespace {

std::atomic<bool> running{false};

} // namespace

void PhraseSender::send(const QString &jsonValue, bool isEnter) {
    if (running)
        return;
    running = true;
    // Left set on purpose: after content that does not parse, nothing more is sent.
    if (!parseContent(jsonValue))
        return;
    QThreadPool::globalInstance()->start([jsonValue, isEnter] {
        const auto target = TargetWindowTracker::lastTarget();
        if (PhraseDelivery::isSpecialTarget(target ? target->bundleIdentifier : std::nullopt))
            PhraseDelivery::sendQQ(jsonValue, isEnter);
        else
            PhraseDelivery::sendAuto(jsonValue, isEnter);
        running = false;
    });
}

bool PhraseSender::runs() {
    return running;
}
