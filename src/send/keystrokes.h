#pragma once

#include <QtGlobal>

// Synthesised key strokes. Every operation returns at once; the stroke is posted later on the GUI
// thread, strokes in the order of the calls. Ctrl+V pastes, Enter is the keypad Enter.
class KeyStrokes {
public:
    KeyStrokes() = delete;

    // Into whatever window has the focus.
    static void enter();
    static void paste();

    // Keys reach the focused window on the desktop, not a process, so these first make sure the
    // active window belongs to pid; a stroke that cannot be delivered there is dropped.
    static void enter(qint32 pid);
    static void paste(qint32 pid);
    static void leftArrow(qint32 pid);

    // How long the pid forms wait for the window of pid to become active again.
    static constexpr int reactivateWaitMs = 150;
    // How long a stroke waits for the user to let go of Ctrl, Alt, Shift or Super.
    static constexpr int modifierWaitMs = 2000;
};
