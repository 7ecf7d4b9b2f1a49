#pragma once

#include <QString>

// The one entry point for sending a phrase to the target application.
class PhraseSender {
public:
    PhraseSender() = delete;

    // GUI thread. Drops the call while another send runs; otherwise the phrase is delivered by a
    // block on the global thread pool, followed by Enter when isEnter. Content that does not parse
    // leaves the program refusing every later send until it restarts.
    static void send(const QString &jsonValue, bool isEnter);
    // Whether a send is in progress (or blocked for good by unparsable content).
    static bool runs();
};
