#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

// A mutex handed to waiters in arrival order. Dozens of request threads queue for the one SQLite
// writer; with a plain mutex an unlucky thread can lose the race many times in a row, and that
// shows as a long latency tail.
class FairMutex {
public:
    void lock();
    void unlock();

private:
    std::mutex mutex_;
    bool locked_ = false;
    std::deque<std::condition_variable *> waiters_;
    std::condition_variable *handedTo_ = nullptr;
};
