#pragma once

#include "send/runningapplication.h"

// Synthesised key strokes. Every operation returns at once; the stroke is posted later on the GUI
// thread, strokes in the order of the calls. Ctrl+V pastes, Enter is the keypad Enter.
class KeyStrokes {
public:
    KeyStrokes() = delete;

    // Into whatever window has the focus.
    static void enter();
    static void paste();

    // Keys reach the focused window on the desktop, so these first make sure the target window is
    // the active one; a stroke that cannot be delivered there is dropped.
    static void enter(const RunningApplication &target);
    static void paste(const RunningApplication &target);
    static void leftArrow(const RunningApplication &target);

    // How long the target forms wait for the target window to become active again.
    static constexpr int reactivateWaitMs = 150;
    // How long a stroke waits for the user to let go of Ctrl, Alt, Shift or Super.
    static constexpr int modifierWaitMs = 2000;
};
