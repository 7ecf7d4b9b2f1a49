#include "desktop/wayland/threadtasks.h"

#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

ThreadTasks::ThreadTasks() : wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

ThreadTasks::~ThreadTasks() {
    if (wakeFd_ >= 0)
        close(wakeFd_);
}

ThreadTasks::Served ThreadTasks::runQueued() {
    std::deque<std::function<void()>> batch;
    {
        std::lock_guard lock(mutex_);
        batch.swap(tasks_);
        if (stopping_ && batch.empty())
            return Served::Finished;
    }
    for (auto &task : batch)
        task();
    return batch.empty() ? Served::Nothing : Served::Some;
}

void ThreadTasks::clearWake() const {
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t n = read(wakeFd_, &count, sizeof count);
}

void ThreadTasks::stop() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake();
}

bool ThreadTasks::post(std::function<void()> task) {
    {
        std::lock_guard lock(mutex_);
        if (stopping_)
            return false;
        tasks_.push_back(std::move(task));
    }
    wake();
    return true;
}

void ThreadTasks::wake() const {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t n = write(wakeFd_, &one, sizeof one);
}
