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
        it = buckets_.emplace(address, Bucket{burst, now, -1e18, -1e18, 0}).first;
    }
    refill(it->second, now);
    if (it->second.tokens < 1)
        return false;
    it->second.tokens -= 1;
    ++it->second.inFlight;
    return true;
}

void LoginThrottle::finished(const std::string &address) {
    std::lock_guard lock(mutex_);
    if (const auto it = buckets_.find(address); it != buckets_.end() && it->second.inFlight > 0)
        --it->second.inFlight;
}

bool LoginThrottle::busy(const std::string &address) const {
    std::lock_guard lock(mutex_);
    const auto it = buckets_.find(address);
    return it != buckets_.end() && it->second.inFlight > 1;
}

double LoginThrottle::wait(const std::string &address, double now) const {
    std::lock_guard lock(mutex_);
    const auto it = buckets_.find(address);
    if (it == buckets_.end())
        return 0;
    const double tokens = std::min(burst, it->second.tokens + (now - it->second.updated) * perSecond);
    return tokens >= 1 ? 0 : (1 - tokens) / perSecond;
}

void LoginThrottle::giveBack(const std::string &address) {
    std::lock_guard lock(mutex_);
    if (const auto it = buckets_.find(address); it != buckets_.end())
        it->second.tokens = std::min(burst, it->second.tokens + 1);
}

void LoginThrottle::failed(const std::string &address, const std::string &nameKey, double now) {
    std::lock_guard lock(mutex_);
    if (const auto it = buckets_.find(address); it != buckets_.end())
        it->second.lastFailure = now;
    if (nameFailures_.size() < maxAddresses_ || nameFailures_.count(nameKey))
        nameFailures_[nameKey] = now;
}

void LoginThrottle::succeeded(const std::string &address, double now) {
    std::lock_guard lock(mutex_);
    if (const auto it = buckets_.find(address); it != buckets_.end())
        it->second.lastSuccess = now;
}

bool LoginThrottle::failedRecently(const std::string &address, double now) const {
    std::lock_guard lock(mutex_);
    const auto it = buckets_.find(address);
    return it != buckets_.end() && now - it->second.lastFailure < failureMemory;
}

bool LoginThrottle::trusted(const std::string &address, double now) const {
    std::lock_guard lock(mutex_);
    const auto it = buckets_.find(address);
    return it != buckets_.end() && now - it->second.lastSuccess < failureMemory &&
           it->second.lastSuccess > it->second.lastFailure;
}

bool LoginThrottle::nameFailedRecently(const std::string &nameKey, double now) const {
    std::lock_guard lock(mutex_);
    const auto it = nameFailures_.find(nameKey);
    return it != nameFailures_.end() && now - it->second < failureMemory;
}

void LoginThrottle::purge(double now) {
    std::lock_guard lock(mutex_);
    for (auto it = buckets_.begin(); it != buckets_.end();) {
        refill(it->second, now);
        if (it->second.tokens >= burst && it->second.inFlight == 0 &&
            now - it->second.lastFailure >= failureMemory && now - it->second.lastSuccess >= failureMemory)
            it = buckets_.erase(it);
        else
            ++it;
    }
    std::erase_if(nameFailures_, [now](const auto &entry) { return now - entry.second >= failureMemory; });
}
