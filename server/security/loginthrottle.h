#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <unordered_map>

// Sign-in attempts per source address, as a token bucket checked before any password is hashed:
// a burst is allowed, then one attempt every few seconds. A right password gives its token back,
// so people who sign in successfully never run dry. It also remembers when an address last
// failed, which decides whether an account's waiting time applies to it, when it last signed in,
// and which names failed lately: hashing for failing sources and names gets a small budget.
class LoginThrottle {
public:
    static constexpr double burst = 20;
    static constexpr double perSecond = 0.2;
    static constexpr double failureMemory = 15 * 60; // seconds a failure counts as recent

    explicit LoginThrottle(std::size_t maxAddresses = 100000) : maxAddresses_(maxAddresses) {}

    // Takes a token; false when the address has none left. Times are seconds on a steady clock.
    // A token taken is a check in flight until finished().
    bool take(const std::string &address, double now);
    void finished(const std::string &address);
    // More than one check of the address is in flight: nobody signs in twice at once.
    bool busy(const std::string &address) const;
    // Seconds until the address has a token again.
    double wait(const std::string &address, double now) const;
    // Returns the token of an attempt that succeeded or never reached a password check.
    void giveBack(const std::string &address);
    // A wrong password from `address` for `nameKey`.
    void failed(const std::string &address, const std::string &nameKey, double now);
    void succeeded(const std::string &address, double now);
    bool failedRecently(const std::string &address, double now) const;
    // The address signed in lately and has not failed since.
    bool trusted(const std::string &address, double now) const;
    bool nameFailedRecently(const std::string &nameKey, double now) const;
    // Forgets addresses whose bucket is full again and whose failures are old.
    void purge(double now);

private:
    struct Bucket {
        double tokens = burst;
        double updated = 0;
        double lastFailure = -1e18;
        double lastSuccess = -1e18;
        int inFlight = 0;
    };
    void refill(Bucket &b, double now) const;

    std::size_t maxAddresses_;
    mutable std::mutex mutex_;
    std::unordered_map<std::string, Bucket> buckets_;
    std::unordered_map<std::string, double> nameFailures_; // name key, latest failure
};
