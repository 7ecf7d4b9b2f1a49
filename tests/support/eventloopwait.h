#pragma once

#include <functional>

// Waiting inside the event loop itself. QTest's waits sleep 10 ms between two rounds of events,
// which makes this program answer other programs' clipboard requests late; a send under test
// must see the answers as quick as in the running application.
class EventLoopWait {
public:
    EventLoopWait() = delete;

    // Runs the event loop until done() holds (checked every few milliseconds) or the time is up.
    static bool until(const std::function<bool()> &done, int timeoutMs);
};
