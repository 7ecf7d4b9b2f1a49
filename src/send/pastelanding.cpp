#include "send/pastelanding.h"

#include <algorithm>

namespace {

int burstsOf(const QList<PasteLanding::Request> &requests, qint64 *longestGap) {
    int bursts = 0;
    qint64 gap = 0;
    for (qsizetype i = 0; i < requests.size(); ++i) {
        const qint64 since = i == 0 ? PasteLanding::burstGapMs + 1 : requests[i].atMs - requests[i - 1].atMs;
        if (since > PasteLanding::burstGapMs) {
            ++bursts;
            if (i > 0)
                gap = std::max(gap, since);
        }
    }
    if (longestGap)
        *longestGap = gap;
    return bursts;
}

} // namespace

PasteLanding::Verdict PasteLanding::judge(const QList<Request> &requests, qint64 strokeMs, qint64 nowMs,
                                          const Pattern &pattern) {
    const bool timedOut = nowMs - strokeMs >= maxWaitMs;
    if (requests.isEmpty())
        return timedOut ? Verdict::Unserved : Verdict::Waiting;
    const bool taken = std::any_of(requests.begin(), requests.end(), [](const Request &r) { return r.ownType; });
    const auto outcome = taken ? Verdict::Landed : Verdict::Declined;
    if (timedOut)
        return outcome;
    qint64 quietNeeded = firstQuietMs;
    if (pattern.bursts > 0) {
        // A burst still to come is waited for a while longer than it took last time; a page
        // that handled the paste itself never sends it.
        quietNeeded = burstsOf(requests, nullptr) >= pattern.bursts ? settleMs
                                                                    : std::max(settleMs, pattern.gapMs * 3 / 2 + 50);
    }
    return nowMs - requests.last().atMs >= quietNeeded ? outcome : Verdict::Waiting;
}

PasteLanding::Pattern PasteLanding::learn(const QList<Request> &requests) {
    Pattern pattern;
    pattern.bursts = burstsOf(requests, &pattern.gapMs);
    return pattern;
}
