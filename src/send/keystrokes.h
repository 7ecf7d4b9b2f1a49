#pragma once

#include "desktop/desktopbackend.h"
#include "desktop/runningapplication.h"
#include "send/deliveryresult.h"

#include <optional>

// Synthesised key strokes into the target window, on the calling thread (the send thread).
class KeyStrokes {
public:
    explicit KeyStrokes(DesktopBackend &desktop) : desktop_(desktop) {}

    // Types the stroke into the target window: only while that window holds the keyboard focus,
    // never while the user holds a modifier (Alt+V is not a paste). A target that lost the focus
    // to this program or to nobody is brought back; one that lost it to another window is not,
    // the agent went there. Absent when typed, else why not.
    std::optional<DeliveryResult::Reason> typeInto(const RunningApplication &target,
                                                   DesktopBackend::Stroke stroke);
    // Brings the target window forward unless the agent has moved on to another one.
    std::optional<DeliveryResult::Reason> bringForward(const RunningApplication &target);

    // How long the target may take to hold the focus again.
    static constexpr int reactivateWaitMs = 150;
    // How long a stroke waits for the user to let go of Ctrl, Alt, Shift or Super.
    static constexpr int modifierWaitMs = 2000;

private:
    DesktopBackend &desktop_;
};
