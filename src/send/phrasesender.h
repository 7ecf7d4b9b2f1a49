#pragma once

#include <QString>
#include <functional>

// The one entry point for sending a phrase to the target window.
class PhraseSender {
public:
    PhraseSender() = delete;

    // GUI thread. Drops the call while another send runs; otherwise the phrase is planned here and
    // delivered on a thread of its own, followed by Enter when isEnter. A send that cannot start
    // typing within startWithinMs of the call is dropped. Content that does not parse leaves the
    // program refusing every later send until it restarts.
    static void send(const QString &jsonValue, bool isEnter);
    // Whether a send is in progress (or blocked for good by unparsable content).
    static bool runs();

    // Told on the GUI thread what the agent should know of a send: "未发送：…" when it was
    // dropped, or a note such as pictures the target could not take.
    static void setReporter(std::function<void(const QString &)> reporter);

    static constexpr int startWithinMs = 1000;
};
