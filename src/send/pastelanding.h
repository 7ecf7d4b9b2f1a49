#pragma once

#include <QList>
#include <QtGlobal>

// Decides, from the target's own clipboard requests since a paste stroke, whether the target has
// finished with the piece. Measured patterns: a Qt or GTK program asks once (a few requests
// within milliseconds: the types, then the data); Chromium asks in two bursts, once before the
// page sees the paste event and again when it inserts, the page's paste handler in between. A
// window's pattern is learnt from its first paste, which waits for a long silence.
namespace PasteLanding {

enum class Verdict {
    Waiting,
    Landed,   // the target took the piece and stopped asking
    Declined, // it asked what there is but never for the piece's type
    Unserved, // it asked nothing at all
};

struct Request {
    qint64 atMs = 0;
    bool ownType = false; // for the piece's own data type, not the list of types
};

// What a window did with its last piece of the same kind: how many bursts of requests, the
// longest silence between two of them, the time from its first request to its last, how many
// requests were for the piece's own type. bursts == 0: not known yet.
struct Pattern {
    int bursts = 0;
    qint64 gapMs = 0;
    qint64 spanMs = 0;
    int ownRequests = 0;
};

Verdict judge(const QList<Request> &requests, qint64 strokeMs, qint64 nowMs, const Pattern &pattern);
Pattern learn(const QList<Request> &requests);

// Requests closer than this belong to one burst.
constexpr qint64 burstGapMs = 40;
// Silence after the expected last burst.
constexpr qint64 settleMs = 10;
// Silence after a request for the types alone before the piece counts as declined.
constexpr qint64 declineQuietMs = 300;
// Silence that ends the first paste into a window: longer than a slow page's paste handler.
constexpr qint64 firstQuietMs = 900;
// Longest wait for a piece from the stroke: a busy or stopped target can start late.
constexpr qint64 maxWaitMs = 3000;
} // namespace PasteLanding
