#pragma once

#include <optional>
#include <string>

// Random identifiers, digests and Base64, all through libsodium / OpenSSL.
class Secrets {
public:
    // Must run once before any other call (initialises libsodium).
    static bool init();
    // 128 random bits as 32 lower-case hex digits: session tokens and record signs.
    static std::string randomHex128();
    // Keyless BLAKE2b digest in hex; sessions are stored by it.
    static std::string digestHex(const std::string &data);
    static std::string md5Hex(const std::string &data);
    static std::string toBase64(const std::string &data);
    // Standard alphabet; padding optional. Nothing for malformed text.
    static std::optional<std::string> fromBase64(const std::string &text);
};
