#include "storage/pgpool.h"

#include "log/servicelog.h"

namespace {

// While the database is down a connection attempt is made at most this often.
constexpr auto retryInterval = std::chrono::milliseconds(250);

} // namespace

PgPool::PgPool(std::string url, std::size_t size, std::chrono::milliseconds waitLimit)
    : url_(PgConnection::withTimeout(url, 3)), size_(size), waitLimit_(waitLimit) {}

PgPool::~PgPool() = default;

PgPool::Lease::Lease(Lease &&other) noexcept : pool_(other.pool_), conn_(std::move(other.conn_)) {}

PgPool::Lease::~Lease() {
    if (conn_)
        pool_->giveBack(std::move(conn_));
}

void PgPool::Lease::discard() {
    if (!conn_)
        return;
    conn_.reset();
    pool_->giveBack(nullptr);
}

void PgPool::giveBack(std::unique_ptr<PgConnection> conn) {
    {
        std::lock_guard lock(mutex_);
        if (conn && conn->ok())
            idle_.push_back(std::move(conn));
        else
            --open_;
    }
    freed_.notify_one();
}

void PgPool::reportLost(const std::string &error) {
    std::lock_guard lock(mutex_);
    ServiceLog::line("database connection lost: " + error);
    // The idle ones most likely went the same way (a restart ends them all); finding that out one
    // request at a time would fail each of those requests. The caller's retry connects afresh.
    open_ -= idle_.size();
    idle_.clear();
}

PgPool::Lease PgPool::acquire(std::string &error) {
    Lease lease;
    lease.pool_ = this;
    std::unique_lock lock(mutex_);
    const auto deadline = std::chrono::steady_clock::now() + waitLimit_;
    for (;;) {
        if (!idle_.empty()) {
            lease.conn_ = std::move(idle_.back());
            idle_.pop_back();
            return lease;
        }
        if (open_ < size_)
            break;
        if (freed_.wait_until(lock, deadline) == std::cv_status::timeout && idle_.empty() && open_ >= size_) {
            error = "every database connection is busy";
            return lease;
        }
    }
    const auto now = std::chrono::steady_clock::now();
    if (!reachable_ && (reconnecting_ || now - lastFailure_ < retryInterval)) {
        error = "database unreachable";
        return lease;
    }
    ++open_;
    const bool probing = !reachable_;
    reconnecting_ = reconnecting_ || probing;
    lock.unlock();
    auto conn = std::make_unique<PgConnection>(url_);
    lock.lock();
    if (probing)
        reconnecting_ = false;
    if (!conn->ok()) {
        --open_;
        error = conn->error();
        if (reachable_)
            ServiceLog::line("cannot connect to the database: " + error);
        reachable_ = false;
        lastFailure_ = std::chrono::steady_clock::now();
        freed_.notify_one();
        return lease;
    }
    if (!reachable_) {
        ServiceLog::line("database reachable again");
        reachable_ = true;
    }
    lease.conn_ = std::move(conn);
    return lease;
}
