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

int ownRequestsOf(const QList<PasteLanding::Request> &requests) {
    return int(std::count_if(requests.begin(), requests.end(),
                             [](const PasteLanding::Request &r) { return r.ownType; }));
}

} // namespace

PasteLanding::Verdict PasteLanding::judge(const QList<Request> &requests, qint64 strokeMs, qint64 nowMs,
                                          const Pattern &pattern) {
    const bool timedOut = nowMs - strokeMs >= maxWaitMs;
    const bool taken =
        std::any_of(requests.begin(), requests.end(), [](const Request &r) { return r.ownType; });
    // However late the data is read, the piece stays until then.
    if (!taken)
        return timedOut ? Verdict::Missed : Verdict::Waiting;
    if (timedOut)
        return Verdict::Landed;
    qint64 quietNeeded = firstQuietMs;
    if (pattern.bursts > 0) {
        // The expected bursts are in when there are as many and they took most of the time they
        // took last time (a burst split by a slow moment is not two). A burst still to come is
        // waited for a while longer than it took last time; a page that handled the paste
        // itself never sends it.
        // A loaded machine stretches a burst: the last one has begun but its reads of the data
        // may still be to come.
        const qint64 span = requests.last().atMs - requests.first().atMs;
        const bool complete = burstsOf(requests, nullptr) >= pattern.bursts &&
                              ownRequestsOf(requests) >= pattern.ownRequests &&
                              (pattern.spanMs <= burstGapMs || span >= pattern.spanMs * 4 / 5);
        quietNeeded = complete ? settleMs : std::max(settleMs, pattern.gapMs * 3 / 2 + 50);
    }
    return nowMs - requests.last().atMs >= quietNeeded ? Verdict::Landed : Verdict::Waiting;
}

PasteLanding::Pattern PasteLanding::merged(const Pattern &own, const Pattern &other) {
    if (own.bursts == 0)
        return own; // a kind's first paste waits for the long silence whatever the other did
    Pattern out = own;
    out.bursts = std::max(own.bursts, other.bursts);
    out.gapMs = std::max(own.gapMs, other.gapMs);
    return out;
}

PasteLanding::Pattern PasteLanding::learn(const QList<Request> &requests) {
    Pattern pattern;
    pattern.bursts = burstsOf(requests, &pattern.gapMs);
    if (!requests.isEmpty())
        pattern.spanMs = requests.last().atMs - requests.first().atMs;
    pattern.ownRequests = ownRequestsOf(requests);
    return pattern;
}
