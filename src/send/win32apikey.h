#pragma once

#include <QtGlobal>

// Synthesised key strokes. Every operation returns at once; the stroke is posted later on the GUI
// thread, strokes in the order of the calls. Ctrl+V pastes, Enter is the keypad Enter.
class Win32ApiKey {
public:
    Win32ApiKey() = delete;

    // Into whatever window has the focus.
    static void enter();
    static void command_V();

    // Keys reach the focused window on the desktop, not a process, so these first make sure the
    // active window belongs to pid; a stroke that cannot be delivered there is dropped.
    static void enter(qint32 pid);
    static void command_V(qint32 pid);
    static void key_left(qint32 pid);

    // How long the pid forms wait for the window of pid to become active again.
    static constexpr int reactivateWaitMs = 150;
    // How long a stroke waits for the user to let go of Ctrl, Alt, Shift or Super.
    static constexpr int modifierWaitMs = 2000;
};
