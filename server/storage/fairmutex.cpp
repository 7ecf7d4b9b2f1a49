#include "storage/fairmutex.h"

void FairMutex::lock() {
    std::unique_lock guard(mutex_);
    if (!locked_ && waiters_.empty()) {
        locked_ = true;
        return;
    }
    std::condition_variable turn;
    waiters_.push_back(&turn);
    turn.wait(guard, [&] { return handedTo_ == &turn; });
    handedTo_ = nullptr; // ownership came with the hand-over; locked_ never dropped
}

void FairMutex::unlock() {
    std::lock_guard guard(mutex_);
    if (waiters_.empty()) {
        locked_ = false;
        return;
    }
    handedTo_ = waiters_.front();
    waiters_.pop_front();
    handedTo_->notify_one();
}
