#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

// A fixed set of threads fed from a bounded queue. Database work and password hashing run here,
// never on the threads that move bytes, and a full queue is refused at once rather than buffered.
// Work in the limited lane runs on at most a few threads at once and only while nothing else waits
// or runs, so a flood of it leaves the threads (and the cores) to the rest.
class WorkerPool {
public:
    enum class Lane { First, Normal, Limited };

    WorkerPool(std::size_t threads, std::size_t maxQueued, std::size_t limitedAtOnce = 0);
    ~WorkerPool();
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    // False when the lane's queue is full or the pool is stopping; the task is then not run.
    bool submit(std::function<void()> task, Lane lane = Lane::Normal);
    // Runs what is queued, then joins the threads.
    void stop();

private:
    void work();

    std::size_t maxQueued_;
    std::size_t limitedAtOnce_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> queue_;
    std::deque<std::function<void()>> limited_;
    std::size_t limitedRunning_ = 0;
    std::size_t othersRunning_ = 0;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};
