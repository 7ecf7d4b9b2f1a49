#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

// Counts open connections per source address and in total. A connection holds a ticket for its
// whole life; when either cap is reached new ones are refused before anything is read from them.
class ConnectionLimiter {
public:
    ConnectionLimiter(std::size_t total, std::size_t perAddress);

    class Ticket {
    public:
        Ticket(ConnectionLimiter &owner, std::string address);
        ~Ticket();
        Ticket(const Ticket &) = delete;
        Ticket &operator=(const Ticket &) = delete;

    private:
        ConnectionLimiter &owner_;
        std::string address_;
    };

    // Null when a cap is reached.
    std::unique_ptr<Ticket> acquire(const std::string &address);
    std::size_t open() const;

private:
    void release(const std::string &address);

    const std::size_t total_;
    const std::size_t perAddress_;
    mutable std::mutex mutex_;
    std::size_t open_ = 0;
    std::unordered_map<std::string, std::size_t> byAddress_;
};
