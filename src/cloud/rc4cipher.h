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

    // data enciphered with key, with a fresh cipher state.
    static std::vector<quint8> encrypt(std::vector<quint8> data, const std::vector<quint8> &key);

    // An empty key is a programming error and ends the program.
    void initialize(const std::vector<quint8> &key);
    quint8 next();
    void encrypt(std::vector<quint8> &data);
    void swapByIndex(int a, int b);
};
