#include "security/loginguard.h"

#include "storage/storage.h"

#include <algorithm>

std::int64_t LoginGuard::delayAfter(std::int64_t failures) {
    if (failures <= freeFailures)
        return 0;
    const auto doublings = std::min<std::int64_t>(failures - freeFailures - 1, 20);
    return std::min(maxDelay, firstDelay << doublings);
}

namespace {

StorageResult<std::int64_t> waitAfter(const StorageResult<LoginGuardState> &state, std::int64_t now) {
    if (!state.ok())
        return state.error();
    return state->lockedUntil > now ? state->lockedUntil - now : 0;
}

} // namespace

StorageResult<std::int64_t> LoginGuard::waitFor(Storage &storage, const std::string &nameKey,
                                                std::int64_t now) {
    return waitAfter(storage.loginGuard(nameKey), now);
}

StorageResult<std::int64_t> LoginGuard::failed(Storage &storage, const std::string &nameKey,
                                               std::int64_t now) {
    const auto state = storage.changeLoginGuard(nameKey, [now](LoginGuardState state) {
        // window_start holds the time of the latest failure.
        if (now - state.windowStart >= window)
            state.failures = 0;
        ++state.failures;
        state.windowStart = now;
        const auto delay = delayAfter(state.failures);
        state.lockedUntil = delay > 0 ? now + delay : 0;
        return state;
    });
    return waitAfter(state, now);
}

StorageResult<void> LoginGuard::succeeded(Storage &storage, const std::string &nameKey) {
    const auto state = storage.loginGuard(nameKey);
    if (!state.ok())
        return state.error();
    if (state->failures == 0 && state->lockedUntil == 0)
        return {};
    if (const auto cleared =
            storage.changeLoginGuard(nameKey, [](LoginGuardState) { return LoginGuardState{}; });
        !cleared.ok())
        return cleared.error();
    return {};
}
