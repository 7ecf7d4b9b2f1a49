#pragma once

#include <QtGlobal>
#include <array>
#include <vector>

// The Rc4Cipher stream cipher, no key-stream bytes dropped; protects the password on the wire.
class Rc4Cipher {
public:
    std::array<quint8, 256> State{};
    quint8 I = 0;
    quint8 J = 0;

    // data enciphered with key, with a fresh cipher state; data as it is for an empty key.
    static std::vector<quint8> encrypt(std::vector<quint8> data, const std::vector<quint8> &key);

    // False for an empty key, which RC4 does not define; the state is then left as it was.
    bool initialize(const std::vector<quint8> &key);
    quint8 next();
    void encrypt(std::vector<quint8> &data);
    void swapByIndex(int a, int b);
};
