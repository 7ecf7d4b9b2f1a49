#include "security/secrets.h"

#include <openssl/evp.h>
#include <sodium.h>

#include <vector>

namespace {

std::string hex(const unsigned char *bytes, std::size_t n) {
    std::string out(n * 2 + 1, '\0');
    sodium_bin2hex(out.data(), out.size(), bytes, n);
    out.resize(n * 2);
    return out;
}

} // namespace

bool Secrets::init() {
    return sodium_init() >= 0;
}

std::string Secrets::randomHex128() {
    unsigned char bytes[16];
    randombytes_buf(bytes, sizeof bytes);
    return hex(bytes, sizeof bytes);
}

std::string Secrets::digestHex(const std::string &data) {
    unsigned char out[crypto_generichash_BYTES];
    crypto_generichash(out, sizeof out, reinterpret_cast<const unsigned char *>(data.data()), data.size(),
                       nullptr, 0);
    return hex(out, sizeof out);
}

std::string Secrets::md5Hex(const std::string &data) {
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int n = 0;
    EVP_Digest(data.data(), data.size(), out, &n, EVP_md5(), nullptr);
    return hex(out, n);
}

std::string Secrets::toBase64(const std::string &data) {
    const int variant = sodium_base64_VARIANT_ORIGINAL;
    std::string out(sodium_base64_encoded_len(data.size(), variant), '\0');
    sodium_bin2base64(out.data(), out.size(), reinterpret_cast<const unsigned char *>(data.data()),
                      data.size(), variant);
    out.resize(out.size() - 1); // trailing NUL
    return out;
}

std::optional<std::string> Secrets::fromBase64(const std::string &text) {
    std::string padded = text;
    if (padded.size() % 4 == 1)
        return std::nullopt;
    while (padded.size() % 4 != 0)
        padded += '=';
    std::vector<unsigned char> out(padded.size() / 4 * 3 + 3);
    std::size_t len = 0;
    const char *end = nullptr;
    if (sodium_base642bin(out.data(), out.size(), padded.data(), padded.size(), nullptr, &len, &end,
                          sodium_base64_VARIANT_ORIGINAL) != 0 ||
        end != padded.data() + padded.size())
        return std::nullopt;
    return std::string(reinterpret_cast<const char *>(out.data()), len);
}
