#pragma once

#include "desktop/desktopbackend.h"

#include <QStringList>
#include <mutex>

// A desktop without a display: a list of applications, one of them active, and a journal of what
// the send layer asked for. Each paste stroke is journalled with what the clipboard held when the
// target read it, the way a real target would have pasted it, and the target's reads are recorded
// as clipboard requests.
class RecordingBackend : public DesktopBackend {
public:
    QList<RunningApplication> applications;
    qint32 activePid = -1;
    // This many activation requests are accepted but bring nothing to the front; -1: all of them.
    int ignoredActivations = 0;
    // An activated window gets the focus this long after the request; no window has it meanwhile.
    int focusDelayMs = 0;

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
    Focus focus(quint64 window) override;
    StrokeResult strokeInto(quint64 window, Stroke stroke) override;
    // Windows of one program are numbered pid * 16 and up.
    bool sameClient(quint64 a, quint64 b) override { return a / 16 == b / 16; }
    QString typeName(quint32 type) override;

    // How long after the keys the target asks for the data.
    int readDelayMs = 0;

    static RunningApplication app(qint32 pid, const QString &identifier);

    static constexpr quint32 textType = 1, pngType = 2, targetsType = 3;

private:
    QString pasted(bool primary) const;
    // Hands the focus to a window activated with a delay once the delay is over; under mutex_.
    void settleFocus();

    mutable std::mutex mutex_;
    QStringList journal_;
    qint64 heldUntil_ = 0;
    bool heldForever_ = false;
    qint32 pendingPid_ = -1;
    qint64 focusAt_ = 0;
};
