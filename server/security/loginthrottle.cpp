#include "security/loginthrottle.h"

#include <algorithm>

void LoginThrottle::refill(Bucket &b, double now) const {
    b.tokens = std::min(burst, b.tokens + (now - b.updated) * perSecond);
    b.updated = now;
}

bool LoginThrottle::take(const std::string &address, double now) {
    std::lock_guard lock(mutex_);
    auto it = buckets_.find(address);
    if (it == buckets_.end()) {
        // A flood of fresh addresses must not grow the table without bound.
        if (buckets_.size() >= maxAddresses_)
            return false;
        it = buckets_.emplace(address, Bucket{burst, now, -1e18}).first;
    }
    refill(it->second, now);
    if (it->second.tokens < 1)
        return false;
    it->second.tokens -= 1;
    return true;
}

void LoginThrottle::giveBack(const std::string &address) {
    std::lock_guard lock(mutex_);
    if (const auto it = buckets_.find(address); it != buckets_.end())
        it->second.tokens = std::min(burst, it->second.tokens + 1);
}

void LoginThrottle::failed(const std::string &address, double now) {
    std::lock_guard lock(mutex_);
    if (const auto it = buckets_.find(address); it != buckets_.end())
        it->second.lastFailure = now;
}

bool LoginThrottle::failedRecently(const std::string &address, double now) const {
    std::lock_guard lock(mutex_);
    const auto it = buckets_.find(address);
    return it != buckets_.end() && now - it->second.lastFailure < failureMemory;
}

void LoginThrottle::purge(double now) {
    std::lock_guard lock(mutex_);
    for (auto it = buckets_.begin(); it != buckets_.end();) {
        refill(it->second, now);
        if (it->second.tokens >= burst && now - it->second.lastFailure >= failureMemory)
            it = buckets_.erase(it);
        else
            ++it;
    }
}
