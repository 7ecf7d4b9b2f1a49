#pragma once

#include "desktop/runningapplication.h"

#include <QObject>
#include <functional>
#include <optional>

// Keeps the last application other than this program that was in front: the target of every
// send. Clicking into this program's own windows leaves the target as it was.
class TargetWindowTracker {
public:
    TargetWindowTracker() = delete;

    // What listeners hear: another target, or a new title or icon of the same target window.
    enum class Change { Target, Name, Icon };

    // Starts the tracker once; later calls do nothing. GUI thread.
    static void start();
    static bool isRun();
    // A copy; read from the GUI thread and from send threads.
    static std::optional<RunningApplication> lastTarget();
    // Calls listener on the GUI thread after each change of the target, for as long as context
    // lives. GUI thread.
    static void addListener(QObject *context, std::function<void(Change)> listener);
    // Whether the desktop tells about changes; false: the front is probed every periodMs.
    static bool isTold();

    static constexpr int periodMs = 60;

private:
    // Arms the probe: on the desktop's word where it gives one, else on a 60 ms timer.
    static void WindowChangeListener();
    static void probe(std::optional<Change> hint);
};
