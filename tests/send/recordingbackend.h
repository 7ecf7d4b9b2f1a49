#pragma once

#include "send/desktopbackend.h"

#include <QStringList>
#include <mutex>

// A desktop without a display: a list of applications, one of them active, and a journal of what
// the send layer asked for. Each key stroke is journalled with what the clipboard held at that
// moment, the way a real target would have pasted it.
class RecordingBackend : public DesktopBackend {
public:
    QList<RunningApplication> applications;
    qint32 activePid = -1;
    // This many activation requests are accepted but bring nothing to the front; -1: all of them.
    int ignoredActivations = 0;

    // The user holds a modifier key for the next ms milliseconds; -1: until told otherwise.
    void holdModifiers(int ms);
    QStringList journal() const;
    void clearJournal();

    bool available() const override { return true; }
    std::optional<RunningApplication> activeApplication() override;
    QList<RunningApplication> runningApplications() override;
    bool activate(const RunningApplication &application) override;
    QImage icon(quint64) override { return {}; }
    bool modifiersHeld() override;
    bool keyStroke(Key key, bool control) override;

    static RunningApplication app(qint32 pid, const QString &identifier);

private:
    mutable std::mutex mutex_;
    QStringList journal_;
    qint64 heldUntil_ = 0;
    bool heldForever_ = false;
};
