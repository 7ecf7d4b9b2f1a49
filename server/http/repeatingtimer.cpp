#include "http/repeatingtimer.h"

RepeatingTimer::RepeatingTimer(boost::asio::io_context &ioc, std::chrono::milliseconds period,
                               std::function<void()> task)
    : timer_(ioc), period_(period), task_(std::move(task)) {}

void RepeatingTimer::arm() {
    timer_.expires_after(period_);
    timer_.async_wait([self = shared_from_this()](const boost::system::error_code &ec) {
        if (ec)
            return;
        self->task_();
        self->arm();
    });
}
