#include "api/accounts.h"

#include "api/apireply.h"
#include "api/contentrules.h"
#include "security/passwordhash.h"
#include "security/secrets.h"
#include "storage/storage.h"

#include <algorithm>
#include <cstring>

const std::string &Accounts::firstClassLabel() {
    static const std::string label = "默认分类";
    return label;
}

std::string Accounts::nameKey(const std::string &name) {
    std::string key = name;
    std::transform(key.begin(), key.end(), key.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    return key;
}

std::optional<std::string> Accounts::checkName(const std::string &name) {
    const auto length = ContentRules::utf8Length(name);
    if (!length || *length < 2 || *length > 32)
        return "用户名需为2到32个字符";
    const bool bad = std::any_of(name.begin(), name.end(), [](char c) {
        const auto u = static_cast<unsigned char>(c);
        return u <= 0x20 || u == 0x7F || std::strchr(";=|\"'<>\\/&%", c) != nullptr;
    });
    if (bad)
        return "用户名不能包含空格或特殊符号";
    return std::nullopt;
}

std::optional<std::string> Accounts::checkPassword(const std::string &password, std::size_t minLength) {
    const auto length = ContentRules::utf8Length(password);
    if (!length)
        return "密码格式错误";
    if (*length < minLength || password.empty())
        return minLength > 1 ? "密码至少需要" + std::to_string(minLength) + "个字符"
                             : std::string("密码不能为空");
    if (*length > 128)
        return "密码不能超过128个字符";
    return std::nullopt;
}

std::optional<std::string> Accounts::create(Storage &storage, const std::string &name,
                                            const std::string &password, std::size_t minPasswordLength) {
    if (auto bad = checkName(name))
        return bad;
    if (auto bad = checkPassword(password, minPasswordLength))
        return bad;
    const auto hash = PasswordHash::hash(password);
    if (!hash)
        return "服务器繁忙，请稍后再试";
    const auto status =
        storage.createUser(name, nameKey(name), *hash, Secrets::randomHex128(), firstClassLabel());
    if (!status.ok())
        return ApiReply::storageFailedText(status.error());
    if (*status != StoreStatus::Ok)
        return "用户名已存在";
    return std::nullopt;
}

std::optional<std::string> Accounts::setPassword(Storage &storage, const std::string &name,
                                                 const std::string &password, std::size_t minPasswordLength) {
    if (auto bad = checkPassword(password, minPasswordLength))
        return bad;
    const auto user = storage.findUser(nameKey(name));
    if (!user.ok())
        return ApiReply::storageFailedText(user.error());
    if (!*user)
        return "用户不存在";
    const auto hash = PasswordHash::hash(password);
    if (!hash)
        return "服务器繁忙，请稍后再试";
    const auto changed = storage.setPasswordHash((*user)->id, *hash);
    if (!changed.ok())
        return ApiReply::storageFailedText(changed.error());
    if (!*changed)
        return "用户不存在";
    return std::nullopt;
}
