#include "security/passwordhash.h"

#include <sodium.h>

#include <algorithm>
#include <semaphore>
#include <thread>

namespace {

std::counting_semaphore<64> &slots() {
    static std::counting_semaphore<64> s(
        std::clamp<std::ptrdiff_t>(std::thread::hardware_concurrency(), 1, 4));
    return s;
}

struct Slot {
    Slot() { slots().acquire(); }
    ~Slot() { slots().release(); }
    Slot(const Slot &) = delete;
    Slot &operator=(const Slot &) = delete;
};

std::optional<std::string> hashUnlimited(const std::string &password) {
    char out[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str(out, password.data(), password.size(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                          crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0)
        return std::nullopt;
    return std::string(out);
}

} // namespace

std::optional<std::string> PasswordHash::hash(const std::string &password) {
    Slot slot;
    return hashUnlimited(password);
}

bool PasswordHash::verify(const std::string &storedHash, const std::string &password) {
    Slot slot;
    return crypto_pwhash_str_verify(storedHash.c_str(), password.data(), password.size()) == 0;
}

void PasswordHash::verifyDummy(const std::string &password) {
    static const std::string dummy = hashUnlimited("quillora-unknown-account").value_or(std::string());
    Slot slot;
    const int ignored = crypto_pwhash_str_verify(dummy.c_str(), password.data(), password.size());
    (void)ignored;
}
