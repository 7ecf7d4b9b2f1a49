#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

// Work that other threads hand to one thread which sleeps in poll(): wakeFd() wakes it. Every use
// of a Wayland connection happens on its own thread; this is how the others get to it.
class ThreadTasks {
public:
    ThreadTasks();
    ~ThreadTasks();
    ThreadTasks(const ThreadTasks &) = delete;
    ThreadTasks &operator=(const ThreadTasks &) = delete;

    // For the serving thread's poll: readable while tasks wait.
    int wakeFd() const { return wakeFd_; }
    // Called by the serving thread before it serves.
    void serveHere() { servingThread_ = std::this_thread::get_id(); }

    // Runs work on the serving thread and returns its result; on the serving thread itself, at
    // once. After stop(), a default result: a task handed in then would wait for good.
    template <typename F> auto run(F work) -> decltype(work()) {
        using Result = decltype(work());
        if (std::this_thread::get_id() == servingThread_)
            return work();
        auto task = std::make_shared<std::packaged_task<Result()>>(std::move(work));
        std::future<Result> result = task->get_future();
        if (!post([task] { (*task)(); }))
            return Result{};
        return result.get();
    }

    enum class Served { Nothing, Some, Finished };
    // Runs, on the serving thread, the tasks handed in so far; Finished once stopped and drained.
    Served runQueued();
    // Empties the wake-up count once poll() found wakeFd readable.
    void clearWake() const;
    // Takes no more tasks and wakes the serving thread, which runs what is queued and ends.
    void stop();

private:
    bool post(std::function<void()> task);
    void wake() const;

    int wakeFd_ = -1;
    std::atomic<std::thread::id> servingThread_;
    std::mutex mutex_;
    std::deque<std::function<void()>> tasks_;
    bool stopping_ = false;
};
