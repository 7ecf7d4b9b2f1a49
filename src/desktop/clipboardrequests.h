#pragma once

#include <QList>
#include <QtGlobal>

// Who asked this program for the clipboard's data, and for which type. A paste pulls the data
// from us when the target handles the keys, often more than once; the send reads this journal to
// know when the target has finished with a piece. Callable from any thread.
class ClipboardRequests {
public:
    ClipboardRequests() = delete;

    struct Request {
        qint64 atMs = 0;
        quint64 requestor = 0; // the asking program's window
        quint32 type = 0;      // the data type's number on the display
    };

    static void record(quint64 requestor, quint32 type);
    // Everything recorded since the last clear().
    static QList<Request> all();
    static void clear();
    // Monotonic milliseconds, the clock of atMs.
    static qint64 nowMs();
    // Starts recording the requests of other programs on this display; GUI thread, once.
    static void watch();
};
