#pragma once

#include <functional>
#include <string>
#include <thread>

// Hears one channel's NOTIFYs on a connection of its own, on a thread of its own, and hands each
// payload to `received`. A lost connection is opened again (once a second) and LISTEN repeated;
// notices sent meanwhile are lost, which the log says.
class PgListener {
public:
    PgListener(std::string url, std::string channel, std::function<void(const std::string &)> received);
    ~PgListener();
    PgListener(const PgListener &) = delete;
    PgListener &operator=(const PgListener &) = delete;

private:
    void loop(std::stop_token stop);

    std::string url_;
    std::string channel_;
    std::function<void(const std::string &)> received_;
    std::jthread thread_; // last: stops before the members it uses go
};
