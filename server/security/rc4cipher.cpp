#include "security/rc4cipher.h"

#include <array>
#include <cstdint>
#include <utility>

std::string Rc4Cipher::apply(const std::string &data, const std::string &key) {
    if (key.empty())
        return data;
    std::array<std::uint8_t, 256> state;
    for (int i = 0; i < 256; ++i)
        state[std::size_t(i)] = std::uint8_t(i);
    std::uint8_t j = 0;
    for (std::size_t i = 0; i < 256; ++i) {
        j = std::uint8_t(j + state[i] + std::uint8_t(key[i % key.size()]));
        std::swap(state[i], state[j]);
    }
    std::string out = data;
    std::uint8_t a = 0, b = 0;
    for (auto &c : out) {
        a = std::uint8_t(a + 1);
        b = std::uint8_t(b + state[a]);
        std::swap(state[a], state[b]);
        c = char(std::uint8_t(c) ^ state[std::uint8_t(state[a] + state[b])]);
    }
    return out;
}

const std::string &Rc4Cipher::passwordKey() {
    static const std::string key = "507tuvo3164";
    return key;
}
