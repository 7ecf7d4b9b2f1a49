#include "api/workerpool.h"

WorkerPool::WorkerPool(std::size_t threads, std::size_t maxQueued) : maxQueued_(maxQueued) {
    for (std::size_t i = 0; i < threads; ++i)
        threads_.emplace_back([this] { work(); });
}

WorkerPool::~WorkerPool() {
    stop();
}

bool WorkerPool::submit(std::function<void()> task, bool urgent) {
    {
        std::lock_guard lock(mutex_);
        if (stopping_ || queue_.size() >= maxQueued_)
            return false;
        if (urgent)
            queue_.push_front(std::move(task));
        else
            queue_.push_back(std::move(task));
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
    for (;;) {
        std::function<void()> task;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
            if (queue_.empty())
                return;
            task = std::move(queue_.front());
            queue_.pop_front();
        }
        task();
    }
}
