#pragma once

#include "cloud/apiloginresult.h"
#include "cloud/apiresultbase.h"

#include <QJsonValue>
#include <QString>
#include <functional>
#include <optional>

// Account calls: sign-in, who is signed in, and the session heartbeat.
class api_user {
public:
    api_user() = delete;

    static void login(const QString &username, const QString &password, ApiLoginResultHandler resulrHandler);
    static void getUserInfo(ApiResultBaseHandler resulrHandler);
    // The whole reply, or nothing when the transport failed.
    static void SyncCheck(std::function<void(const std::optional<QJsonValue> &)> resulrHandler);

    // The password as it travels: RC4 with the fixed key, then Base64.
    static QString encipherPassword(const QString &password);

    static inline const char *PASSWORD_KEY = "507tuvo3164";
};
