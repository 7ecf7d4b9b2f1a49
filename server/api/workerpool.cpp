#include "api/workerpool.h"

#include <algorithm>

WorkerPool::WorkerPool(std::size_t threads, std::size_t maxQueued, std::size_t limitedAtOnce)
    : maxQueued_(maxQueued), limitedAtOnce_(limitedAtOnce == 0 ? threads : std::min(limitedAtOnce, threads)) {
    for (std::size_t i = 0; i < threads; ++i)
        threads_.emplace_back([this] { work(); });
}

WorkerPool::~WorkerPool() {
    stop();
}

bool WorkerPool::submit(std::function<void()> task, Lane lane) {
    {
        std::lock_guard lock(mutex_);
        // Each lane has its own bound: a flood of limited work never crowds out the rest.
        if (stopping_ || (lane == Lane::Limited ? limited_ : queue_).size() >= maxQueued_)
            return false;
        if (lane == Lane::First)
            queue_.push_front(std::move(task));
        else if (lane == Lane::Normal)
            queue_.push_back(std::move(task));
        else
            limited_.push_back(std::move(task));
    }
    wake_.notify_one();
    return true;
}

void WorkerPool::stop() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (auto &t : threads_)
        if (t.joinable())
            t.join();
    threads_.clear();
}

void WorkerPool::work() {
    std::unique_lock lock(mutex_);
    const auto limitedMayStart = [this] {
        return !limited_.empty() && limitedRunning_ < limitedAtOnce_ && othersRunning_ == 0;
    };
    for (;;) {
        wake_.wait(lock, [&] { return stopping_ || !queue_.empty() || limitedMayStart(); });
        std::function<void()> task;
        bool limited = false;
        if (!queue_.empty()) {
            task = std::move(queue_.front());
            queue_.pop_front();
            ++othersRunning_;
        } else if (limitedMayStart()) {
            task = std::move(limited_.front());
            limited_.pop_front();
            limited = true;
            ++limitedRunning_;
        } else if (othersRunning_ == 0 && limitedRunning_ == 0) {
            return; // stopping, and nothing is left that could let queued work start
        } else {
            wake_.wait(lock); // stopping: what runs now decides when the limited lane may go on
            continue;
        }
        lock.unlock();
        task();
        lock.lock();
        --(limited ? limitedRunning_ : othersRunning_);
        if (limitedMayStart() || (stopping_ && othersRunning_ == 0 && limitedRunning_ == 0))
            wake_.notify_all(); // the limited lane may go on, or the pool may finish stopping
    }
}
