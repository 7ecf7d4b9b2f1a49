#pragma once

#include <optional>
#include <string>

class Storage;

// Account rules shared by the web pages and the command line. Failures come back as the short
// Chinese text shown to the user.
class Accounts {
public:
    static const std::string &firstClassLabel();
    // ASCII lower case: names match without regard to ASCII case.
    static std::string nameKey(const std::string &name);
    static std::optional<std::string> checkName(const std::string &name);
    static std::optional<std::string> checkPassword(const std::string &password, std::size_t minLength);

    static std::optional<std::string> create(Storage &storage, const std::string &name,
                                             const std::string &password, std::size_t minPasswordLength);
    // Sets a new password and ends every session of the account.
    static std::optional<std::string> setPassword(Storage &storage, const std::string &name,
                                                  const std::string &password, std::size_t minPasswordLength);
};
