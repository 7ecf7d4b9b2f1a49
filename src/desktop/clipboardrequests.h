#pragma once

#include <QList>
#include <QtGlobal>
#include <memory>
#include <mutex>

class SelectionRequestFilter;

// Who asked this program for the clipboard's data, and for which type. A paste pulls the data
// from us when the target handles the keys, often more than once; the send reads this journal to
// know when the target has finished with a piece. Callable from any thread.
class ClipboardRequests {
public:
    ClipboardRequests();
    ~ClipboardRequests();
    ClipboardRequests(const ClipboardRequests &) = delete;
    ClipboardRequests &operator=(const ClipboardRequests &) = delete;

    struct Request {
        qint64 atMs = 0;
        quint64 requestor = 0; // the asking program's window
        quint32 type = 0;      // the data type's number on the display
    };

    void record(quint64 requestor, quint32 type);
    // Everything recorded since the last clear().
    QList<Request> all() const;
    void clear();
    // Monotonic milliseconds, the clock of atMs.
    static qint64 nowMs();
    // Starts recording the requests other programs send to this program's X connection (where
    // Qt's own clipboard serves them); GUI thread. Later calls do nothing.
    void watchX11Selections();

private:
    mutable std::mutex mutex_;
    QList<Request> journal_;
    std::unique_ptr<SelectionRequestFilter> filter_;
};
