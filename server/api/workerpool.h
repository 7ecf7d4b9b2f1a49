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
class WorkerPool {
public:
    WorkerPool(std::size_t threads, std::size_t maxQueued);
    ~WorkerPool();
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    // False when the queue is full or the pool is stopping; the task is then not run. An urgent
    // task goes before those waiting.
    bool submit(std::function<void()> task, bool urgent = false);
    // Runs what is queued, then joins the threads.
    void stop();

private:
    void work();

    std::size_t maxQueued_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> queue_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};
