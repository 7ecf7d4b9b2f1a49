#pragma once

#include <string>

// The stream cipher the client applies to passwords on the wire (no key stream bytes dropped).
// The same call enciphers and deciphers.
class Rc4Cipher {
public:
    static std::string apply(const std::string &data, const std::string &key);
    // The fixed key both sides share.
    static const std::string &passwordKey();
};
