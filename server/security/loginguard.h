#pragma once

#include "storage/storageresult.h"

#include <cstdint>
#include <string>

class Storage;

// Failed sign-ins per account name. From the fifth failure in a row, strangers are asked to wait
// before trying that name again, twice as long after each further failure (up to a quarter of an
// hour). The wait binds only addresses that failed recently themselves (see LoginThrottle), so
// nobody can lock an owner out by failing on purpose. Rows older than the window are purged.
class LoginGuard {
public:
    static constexpr std::int64_t window = 15 * 60; // failures further apart start over
    static constexpr std::int64_t firstDelay = 30;
    static constexpr std::int64_t maxDelay = 15 * 60;
    static constexpr std::int64_t freeFailures = 4;

    // Seconds left of the name's waiting time (0 when it may try).
    static StorageResult<std::int64_t> waitFor(Storage &storage, const std::string &nameKey,
                                               std::int64_t now);
    // Records a failure; returns the waiting time it starts, 0 when none.
    static StorageResult<std::int64_t> failed(Storage &storage, const std::string &nameKey, std::int64_t now);
    static StorageResult<void> succeeded(Storage &storage, const std::string &nameKey);
    // The delay after `failures` failures in a row.
    static std::int64_t delayAfter(std::int64_t failures);
};
