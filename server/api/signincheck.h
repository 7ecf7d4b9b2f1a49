#pragma once

#include "storage/storagerecords.h"

#include <optional>
#include <string>

class LoginThrottle;
class Storage;

// The checks around a password check (sign-in, password change): the account's waiting time after
// repeated failures binds only addresses that failed recently, failures count for the account and
// the address, and a right password gives the address its throttle token back.
class SignInCheck {
public:
    SignInCheck(Storage &storage, LoginThrottle &throttle) : storage_(storage), throttle_(throttle) {}

    // Nothing when the password is the user's; else the refusal text (`wrongText` for a wrong
    // password or an unknown user, who costs the same time). Failures count under `guardKey`.
    std::optional<std::string> check(const std::string &address, const std::string &nameKey,
                                     const std::string &guardKey, const std::optional<UserRecord> &user,
                                     const std::string &password, const char *wrongText);
    // The failure record of a name's password changes ("/" is never part of a name).
    static std::string resetGuardKey(const std::string &nameKey) { return "reset/" + nameKey; }
    // For a request that never reached a password check, or succeeded without one.
    void giveBack(const std::string &address);

private:
    Storage &storage_;
    LoginThrottle &throttle_;
};
