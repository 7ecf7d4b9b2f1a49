#pragma once

#include <QList>
#include <QtGlobal>

// Decides, from the target's own clipboard requests since a paste stroke, whether the target has
// finished with the piece. A piece is never done before the target has read its own data (not
// only the list of types). Measured patterns: a Qt or GTK program asks once (a few requests
// within milliseconds: the types, then the data); Chromium reads the data as the keys arrive and
// again when the page's paste handler is over, which may take its picture from what was read
// first, but only while the clipboard has not changed. A window's pattern is learnt from its
// first paste, which waits for a long silence.
namespace PasteLanding {

enum class Verdict {
    Waiting,
    Landed, // the target read the piece's data and stopped asking
    Missed, // it never read the piece's data
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
// A page that handles the paste of one kind itself and leaves the other to the browser shows its
// handler's time in one of them only: once both kinds are known, a piece of either is kept as
// long as the longer.
Pattern merged(const Pattern &own, const Pattern &other);

// Requests closer than this belong to one burst.
constexpr qint64 burstGapMs = 40;
// Silence after the expected last burst.
constexpr qint64 settleMs = 10;
// Silence that ends the first paste into a window: longer than a slow page's paste handler.
constexpr qint64 firstQuietMs = 1500;
// Longest wait for a piece's data from the stroke: a busy or stopped target can start late.
constexpr qint64 maxWaitMs = 4000;
} // namespace PasteLanding
