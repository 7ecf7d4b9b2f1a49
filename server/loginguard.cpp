#include "loginguard.h"

#include "storage.h"

std::mutex &LoginGuard::mutex() {
    static std::mutex m;
    return m;
}

std::int64_t LoginGuard::lockedFor(Storage &storage, const std::string &nameKey, std::int64_t now) {
    const auto state = storage.loginGuard(nameKey);
    return state.lockedUntil > now ? state.lockedUntil - now : 0;
}

std::int64_t LoginGuard::failed(Storage &storage, const std::string &nameKey, std::int64_t now) {
    std::lock_guard lock(mutex());
    auto state = storage.loginGuard(nameKey);
    if (state.failures == 0 || now - state.windowStart >= window) {
        state.failures = 0;
        state.windowStart = now;
    }
    ++state.failures;
    std::int64_t locked = 0;
    if (state.failures >= maxFailures) {
        state.failures = 0;
        state.lockedUntil = now + lockTime;
        locked = lockTime;
    }
    storage.setLoginGuard(nameKey, state);
    return locked;
}

void LoginGuard::succeeded(Storage &storage, const std::string &nameKey) {
    std::lock_guard lock(mutex());
    if (const auto state = storage.loginGuard(nameKey); state.failures != 0 || state.lockedUntil != 0)
        storage.setLoginGuard(nameKey, {});
}
