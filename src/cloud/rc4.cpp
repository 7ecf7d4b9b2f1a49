#include "cloud/rc4.h"

#include <utility>

std::vector<quint8> RC4::encrypt(std::vector<quint8> data, const std::vector<quint8> &key) {
    RC4 cipher;
    cipher.initialize(key);
    cipher.encrypt(data);
    return data;
}

void RC4::initialize(const std::vector<quint8> &key) {
    if (key.empty())
        qFatal("RC4: the key must not be empty");
    for (int i = 0; i < 256; ++i)
        State[i] = quint8(i);
    quint8 j = 0;
    for (int i = 0; i < 256; ++i) {
        j = quint8(j + State[i] + key[std::size_t(i) % key.size()]);
        swapByIndex(i, j);
    }
    I = 0;
    J = 0;
}

quint8 RC4::next() {
    I = quint8(I + 1);
    J = quint8(J + State[I]);
    swapByIndex(I, J);
    return State[quint8(State[I] + State[J])];
}

void RC4::encrypt(std::vector<quint8> &data) {
    for (quint8 &b : data)
        b ^= next();
}

void RC4::swapByIndex(int a, int b) {
    std::swap(State[a], State[b]);
}
