#pragma once

#include <cstdint>
#include <mutex>
#include <string>

class Storage;

// Five failed sign-ins for one name within a quarter of an hour lock that name for a quarter of an hour.
class LoginGuard {
public:
    static constexpr std::int64_t window = 15 * 60;
    static constexpr std::int64_t lockTime = 15 * 60;
    static constexpr std::int64_t maxFailures = 5;

    // Seconds the name stays locked (0 when it may try).
    static std::int64_t lockedFor(Storage &storage, const std::string &nameKey, std::int64_t now);
    // Returns the seconds of the lock this failure started, 0 when none.
    static std::int64_t failed(Storage &storage, const std::string &nameKey, std::int64_t now);
    static void succeeded(Storage &storage, const std::string &nameKey);

private:
    static std::mutex &mutex();
};
