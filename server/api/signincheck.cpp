#include "api/signincheck.h"

#include "api/apireply.h"
#include "api/serviceclock.h"
#include "security/loginguard.h"
#include "security/loginthrottle.h"
#include "security/passwordhash.h"

namespace {

std::string waitText(std::int64_t seconds) {
    return "登录失败次数过多，请" + std::to_string((seconds + 59) / 60) + "分钟后再试";
}

bool passwordMatches(const std::optional<UserRecord> &user, const std::string &password) {
    if (user)
        return PasswordHash::verify(user->passwordHash, password);
    PasswordHash::verifyDummy(password);
    return false;
}

} // namespace

std::optional<std::string> SignInCheck::check(const std::string &address, const std::string &nameKey,
                                              const std::string &guardKey,
                                              const std::optional<UserRecord> &user,
                                              const std::string &password, const char *wrongText) {
    const auto now = ServiceClock::unixSeconds();
    // The owner, trying from a clean address with the right password, still gets in.
    const auto wait = LoginGuard::waitFor(storage_, guardKey, now);
    if (!wait.ok())
        return ApiReply::storageFailedText(wait.error());
    if (*wait > 0 && throttle_.failedRecently(address, ServiceClock::steadySeconds()))
        return waitText(*wait);
    if (!passwordMatches(user, password)) {
        throttle_.failed(address, nameKey, ServiceClock::steadySeconds());
        const auto delay = LoginGuard::failed(storage_, guardKey, now);
        if (!delay.ok())
            return ApiReply::storageFailedText(delay.error());
        if (*delay)
            return waitText(*delay);
        return std::string(wrongText);
    }
    throttle_.giveBack(address);
    throttle_.succeeded(address, ServiceClock::steadySeconds());
    if (const auto cleared = LoginGuard::succeeded(storage_, guardKey); !cleared.ok())
        return ApiReply::storageFailedText(cleared.error());
    return std::nullopt;
}

void SignInCheck::giveBack(const std::string &address) {
    throttle_.giveBack(address);
}
