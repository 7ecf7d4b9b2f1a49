#pragma once

#include "desktop/desktopbackend.h"
#include "desktop/runningapplication.h"
#include "send/deliveryresult.h"

#include <optional>

// Synthesised key strokes. Ctrl+V pastes (other programs have their own stroke, see PasteKeys),
// Enter is the keypad Enter.
class KeyStrokes {
public:
    KeyStrokes() = delete;

    // Into whatever window has the focus, posted later on the GUI thread in the order of the calls.
    static void enter();
    static void paste();

    // Types the stroke into the target window, on the calling thread: only while that window
    // holds the keyboard focus, never while the user holds a modifier (Alt+V is not a paste). A
    // target that lost the focus to this program or to nobody is brought back; one that lost it to
    // another window is not, the agent went there. Absent when typed, else why not.
    static std::optional<DeliveryResult::Reason> typeInto(const RunningApplication &target,
                                                          DesktopBackend::Stroke stroke);
    // Brings the target window forward unless the agent has moved on to another one.
    static std::optional<DeliveryResult::Reason> bringForward(const RunningApplication &target);

    // How long the target may take to hold the focus again.
    static constexpr int reactivateWaitMs = 150;
    // How long a stroke waits for the user to let go of Ctrl, Alt, Shift or Super.
    static constexpr int modifierWaitMs = 2000;
};
