#pragma once

#include "cloud/callresult.h"
#include "cloud/loginresult.h"

#include <QJsonValue>
#include <QString>
#include <functional>
#include <optional>

// Account calls: sign-in, who is signed in, and the session heartbeat.
class AccountApi {
public:
    AccountApi() = delete;

    static void login(const QString &username, const QString &password, LoginHandler resultHandler);
    static void getUserInfo(CallHandler resultHandler);
    // The whole reply, or nothing when the transport failed.
    static void SyncCheck(std::function<void(const std::optional<QJsonValue> &)> resultHandler);

    // The password as it travels: Rc4Cipher with the fixed key, then Base64.
    static QString encipherPassword(const QString &password);

    static inline const char *PASSWORD_KEY = "507tuvo3164";
};
