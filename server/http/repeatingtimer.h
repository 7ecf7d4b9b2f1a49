#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <memory>

// Runs a task every period on an I/O context until the context stops. Held by its pending wait.
class RepeatingTimer : public std::enable_shared_from_this<RepeatingTimer> {
public:
    RepeatingTimer(boost::asio::io_context &ioc, std::chrono::milliseconds period,
                   std::function<void()> task);
    void arm();

private:
    boost::asio::steady_timer timer_;
    std::chrono::milliseconds period_;
    std::function<void()> task_;
};
