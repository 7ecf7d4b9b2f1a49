#pragma once

#include <optional>
#include <string>

// Argon2id password hashes (libsodium, interactive limits). Hashing is slow and memory hungry on
// purpose, so only a couple run at once whatever the number of request threads.
class PasswordHash {
public:
    static std::optional<std::string> hash(const std::string &password);
    static bool verify(const std::string &storedHash, const std::string &password);
    // Spends the time of one verification; used for unknown names so timing tells nothing.
    static void verifyDummy(const std::string &password);
};
