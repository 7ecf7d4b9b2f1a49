#pragma once

#include "desktop/runningapplication.h"

#include <QObject>
#include <QTimer>
#include <mutex>
#include <optional>

class DesktopBackend;

// Keeps the last application other than this program that was in front: the target of every
// send. Clicking into this program's own windows leaves the target as it was. Lives on the GUI
// thread; lastTarget() may be read from any thread.
class TargetWindowTracker : public QObject {
    Q_OBJECT
public:
    // What changed: another target, or a new title or icon of the same target window.
    enum class Change { Target, Name, Icon };
    Q_ENUM(Change)

    explicit TargetWindowTracker(DesktopBackend &desktop, QObject *parent = nullptr);
    ~TargetWindowTracker() override;

    // Starts following the window in front; later calls do nothing.
    void start();
    bool isStarted() const { return started_; }
    // Whether the desktop tells about changes; false: the front is probed every periodMs.
    bool isTold() const { return told_; }
    // A copy; read from the GUI thread and from send threads.
    std::optional<RunningApplication> lastTarget() const;

    static constexpr int periodMs = 60;

Q_SIGNALS:
    void changed(TargetWindowTracker::Change change);

private:
    void probe(std::optional<Change> hint);

    DesktopBackend &desktop_;
    QTimer poll_;
    bool started_ = false;
    bool told_ = false;
    mutable std::mutex mutex_;
    std::optional<RunningApplication> target_;
};
