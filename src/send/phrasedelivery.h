#pragma once

#include "send/deliveryresult.h"
#include "send/pastelanding.h"
#include "send/sendplan.h"

#include <QDeadlineTimer>
#include <atomic>
#include <functional>

// Carries out a send plan step by step on the calling thread (the send thread), and is the one
// place that decides what a failed step means: the rest of the send is dropped, its Enter above
// all, and the result says why. Each pasted piece stays on the clipboard until the target has
// finished with it; the next step follows only then.
class PhraseDelivery {
public:
    PhraseDelivery() = delete;

    // startBy: the first key stroke must come before it, or nothing is typed. cancel: checked
    // between steps (the program is quitting).
    static DeliveryResult run(const SendPlan &plan, QDeadlineTimer startBy, const std::atomic<bool> &cancel);

    // Whether a data type carries the piece itself rather than a list of types or a time stamp.
    static bool carriesPiece(const QString &typeName, bool picture);

    // How often a wait asks again whether what it waits for has happened.
    static constexpr int pollMs = 2;

private:
    // Until done() holds, at most ms. False when it did not in time.
    static bool awaitUntil(const std::function<bool()> &done, int ms, const std::atomic<bool> &cancel);
    // After the stroke: until the target is done with the piece. Absent when it took it.
    static std::optional<DeliveryResult::Reason> waitForLanding(const SendPlan &plan,
                                                                const SendPlan::Piece &piece, qint64 beforeMs,
                                                                int holdMs, const std::atomic<bool> &cancel,
                                                                bool *declined);
};
