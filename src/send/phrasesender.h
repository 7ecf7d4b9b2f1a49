#pragma once

#include "send/phrasedelivery.h"

#include <QObject>
#include <QString>
#include <atomic>
#include <memory>
#include <thread>

class DesktopBackend;
class PhraseContent;
class Settings;
class TargetWindowTracker;

// The one entry point for sending a phrase to the target window. Lives on the GUI thread; each
// send runs on a thread of its own.
class PhraseSender : public QObject {
    Q_OBJECT
public:
    // The settings give the pause mode and the paste strokes, read at each send.
    PhraseSender(const Settings &settings, DesktopBackend &desktop, TargetWindowTracker &tracker,
                 QObject *parent = nullptr);
    // Stops a send in progress, waiting at most quitWaitMs for it.
    ~PhraseSender() override;

    // Drops the call while another send runs; otherwise the phrase is planned here and delivered
    // on a thread of its own, followed by Enter when isEnter. A send that cannot start typing
    // within startWithinMs of the call is dropped. Content that did not parse leaves the sender
    // refusing every later send.
    void send(const PhraseContent &content, bool isEnter);
    // Whether a send is in progress (or blocked for good by unparsable content).
    bool isRunning() const { return blocked_ || run_->sending; }
    // Asks a send in progress to stop at its next step and waits at most waitMs for it. False when
    // it still runs (stuck inside the desktop): what it uses must then stay alive until the
    // process ends.
    bool stop(int waitMs = quitWaitMs);

    static constexpr int startWithinMs = 1000;
    static constexpr int quitWaitMs = 600;

Q_SIGNALS:
    // What the agent should know of a send: "未发送：…" when it was dropped, or a note such as
    // pictures the target could not take.
    void reported(const QString &message);

private:
    // What the send thread and the sender share; the thread keeps it alive should it outlast us.
    struct Run {
        std::atomic<bool> sending{false};
        std::atomic<bool> cancel{false};
    };

    void report(const DeliveryResult &result);

    const Settings &settings_;
    TargetWindowTracker &tracker_;
    PhraseDelivery delivery_;
    // Set for good by content that does not parse.
    bool blocked_ = false;
    std::shared_ptr<Run> run_ = std::make_shared<Run>();
    std::thread thread_;
};
