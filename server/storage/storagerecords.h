#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Plain records traded between the endpoints and a storage back-end.

struct UserRecord {
    std::int64_t id = 0;
    std::string name; // stored spelling
    std::string passwordHash;
};

struct ClassRecord {
    std::int64_t id = 0;
    std::string sign;
    std::string label;
    std::int64_t position = 0;
};

struct PhraseRecord {
    std::int64_t id = 0;
    std::string parentSign;
    std::string sign;
    std::string label;
    std::string jsonValue;
    std::string texts;
    std::string images;
    std::int64_t position = 0;
};

// Outcome of a change; the endpoints turn each case into a message.
enum class StoreStatus {
    Ok,
    NotFound,       // a sign (or the parent) is not in the user's library
    LastClass,      // the change would leave the user without a class
    Exists,         // a unique name is taken
    DifferentBytes, // a picture of that name exists with other content
};

struct LoginGuardState {
    std::int64_t failures = 0;
    std::int64_t windowStart = 0;
    std::int64_t lockedUntil = 0;
};
