#pragma once

#include "send/clipboardutil.h"
#include "send/deliveryresult.h"
#include "send/keystrokes.h"
#include "send/pastelanding.h"
#include "send/sendplan.h"

#include <QDeadlineTimer>
#include <QHash>
#include <atomic>
#include <functional>
#include <mutex>

class DesktopBackend;

// Carries out a send plan step by step on the calling thread (the send thread), and is the one
// place that decides what a failed step means: the rest of the send is dropped, its Enter above
// all, and the result says why. Each pasted piece stays on the clipboard until the target has
// finished with it; the next step follows only then. Remembers how each window reads a paste.
class PhraseDelivery {
public:
    explicit PhraseDelivery(DesktopBackend &desktop);

    // startBy: the first key stroke must come before it, or nothing is typed. cancel: checked
    // between steps (the program is quitting). One run at a time.
    DeliveryResult run(const SendPlan &plan, QDeadlineTimer startBy, const std::atomic<bool> &cancel);

    // Whether a data type carries the piece itself rather than a list of types or a time stamp.
    static bool carriesPiece(const QString &typeName, bool picture);

    // How often a wait asks again whether what it waits for has happened.
    static constexpr int pollMs = 2;

    // What a window did with its last piece of one kind (text, picture: a browser reads them
    // differently). A window id is given again to a later program's window, so the process
    // belongs to the key.
    struct WindowKey {
        quint64 window = 0;
        qint32 pid = -1;
        bool picture = false;
        bool operator==(const WindowKey &) const = default;
    };

private:
    // The steps themselves; saved is set once the clipboard has been copied for restoring.
    DeliveryResult runSteps(const SendPlan &plan, QDeadlineTimer startBy, const std::atomic<bool> &cancel,
                            bool &saved);
    // Until done() holds, at most ms. False when it did not in time.
    static bool awaitUntil(const std::function<bool()> &done, int ms, const std::atomic<bool> &cancel);
    // After the stroke: until the target is done with plan.pieces[index]. Absent when it took it;
    // else the send ends there: that piece, or the one before, did not arrive.
    std::optional<DeliveryResult> waitForLanding(const SendPlan &plan, int index, qint64 beforeMs, int holdMs,
                                                 const std::atomic<bool> &cancel);
    PasteLanding::Pattern patternOf(const WindowKey &key) const;
    void remember(const WindowKey &key, const PasteLanding::Pattern &pattern);

    DesktopBackend &desktop_;
    ClipboardUtil clipboard_;
    KeyStrokes keys_;
    mutable std::mutex patternMutex_;
    QHash<WindowKey, PasteLanding::Pattern> patterns_;
};

size_t qHash(const PhraseDelivery::WindowKey &key, size_t seed = 0);
