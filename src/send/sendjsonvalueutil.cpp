#include "send/sendjsonvalueutil.h"

#include "model/contentformat.h"
#include "send/controller_service_window.h"
#include "send/copysendutil.h"

#include <QThreadPool>
#include <atomic>

namespace {

std::atomic<bool> running{false};

} // namespace

void SendJsonValueUtil::send(const QString &jsonValue, bool isEnter) {
    if (running)
        return;
    running = true;
    // Left set on purpose: after content that does not parse, nothing more is sent.
    if (!toDataJsonItemArr(jsonValue))
        return;
    QThreadPool::globalInstance()->start([jsonValue, isEnter] {
        const auto target = controller_service_window::nowWindowFrom();
        if (CopySendUtil::isSpecialTarget(target ? target->bundleIdentifier : std::nullopt))
            CopySendUtil::sendQQ(jsonValue, isEnter);
        else
            CopySendUtil::sendAuto(jsonValue, isEnter);
        running = false;
    });
}

bool SendJsonValueUtil::runs() {
    return running;
}
