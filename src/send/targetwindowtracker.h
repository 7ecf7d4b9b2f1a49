#pragma once

#include "send/runningapplication.h"

#include <optional>

// Keeps the last application other than this program that was in front: the target of every
// send. Clicking into this program's own windows leaves the target as it was.
class TargetWindowTracker {
public:
    TargetWindowTracker() = delete;

    // Starts the tracker once; later calls do nothing. GUI thread.
    static void start();
    static bool isRun();
    // A copy; read from the GUI thread and from send threads.
    static std::optional<RunningApplication> lastTarget();

    static constexpr int periodMs = 60;

private:
    // Arms the 60 ms probe on the GUI thread and probes at once.
    static void WindowChangeListener();
    static void probe();
};
