#include "cloud/rc4cipher.h"

#include <utility>

std::vector<quint8> Rc4Cipher::encrypt(std::vector<quint8> data, const std::vector<quint8> &key) {
    Rc4Cipher cipher;
    if (cipher.initialize(key))
        cipher.encrypt(data);
    return data;
}

bool Rc4Cipher::initialize(const std::vector<quint8> &key) {
    if (key.empty())
        return false;
    for (int i = 0; i < 256; ++i)
        State[i] = quint8(i);
    quint8 j = 0;
    for (int i = 0; i < 256; ++i) {
        j = quint8(j + State[i] + key[std::size_t(i) % key.size()]);
        swapByIndex(i, j);
    }
    I = 0;
    J = 0;
    return true;
}

quint8 Rc4Cipher::next() {
    I = quint8(I + 1);
    J = quint8(J + State[I]);
    swapByIndex(I, J);
    return State[quint8(State[I] + State[J])];
}

void Rc4Cipher::encrypt(std::vector<quint8> &data) {
    for (quint8 &b : data)
        b ^= next();
}

void Rc4Cipher::swapByIndex(int a, int b) {
    std::swap(State[a], State[b]);
}
