#pragma once

#include "storage/pgconnection.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// At most `size` connections to one database, opened when first needed and kept. A connection that
// broke is dropped and the next lease opens a fresh one. While the database is unreachable only one
// caller at a time tries to reconnect; the others are refused at once, so requests fail fast instead
// of piling up behind connection timeouts. Lost connections, the first failed attempt and the
// database coming back are logged.
class PgPool {
public:
    PgPool(std::string url, std::size_t size, std::chrono::milliseconds waitLimit);
    ~PgPool();

    class Lease {
    public:
        Lease() = default;
        Lease(Lease &&other) noexcept;
        Lease &operator=(Lease &&) = delete;
        ~Lease();
        explicit operator bool() const { return conn_ != nullptr; }
        PgConnection &operator*() const { return *conn_; }
        PgConnection *operator->() const { return conn_.get(); }
        // The connection is not to be used again (it broke, or a transaction on it is in doubt).
        void discard();

    private:
        friend class PgPool;
        PgPool *pool_ = nullptr;
        std::unique_ptr<PgConnection> conn_;
    };

    // An empty lease when no connection could be had; `error` then says why.
    Lease acquire(std::string &error);
    // Called with a result that lost its connection: logs it and drops the idle connections.
    void reportLost(const std::string &error);

private:
    void giveBack(std::unique_ptr<PgConnection> conn);

    std::string url_;
    std::size_t size_;
    std::chrono::milliseconds waitLimit_;
    std::mutex mutex_;
    std::condition_variable freed_;
    std::vector<std::unique_ptr<PgConnection>> idle_;
    std::size_t open_ = 0;  // idle and leased
    bool reachable_ = true; // as far as the last attempt knows
    bool reconnecting_ = false;
    std::chrono::steady_clock::time_point lastFailure_;
};
