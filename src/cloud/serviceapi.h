#pragma once

#include <QJsonValue>
#include <QString>
#include <functional>
#include <optional>

// Service addresses and the two calls that belong to no feature.
class ServiceApi {
public:
    ServiceApi() = delete;

    // The service's base address followed directly by url (every path starts with "/").
    static QString appendUrl(const QString &url);
    // The service's web site, shown in the update message.
    static QString webAddress();
    static QString registerUrl();
    static QString resetUrl();

    // Ends the process at once with status 1, after the message (if any) on standard error.
    [[noreturn]] static void endProgram(const QString &message = {});

    // The whole reply, or nothing when the transport failed.
    static void getVersionCheck(std::function<void(const std::optional<QJsonValue> &)> resultHandler);
    // Posts the client version to path; the whole reply, or nothing when the transport failed.
    static void postVersion(const QString &path,
                            std::function<void(const std::optional<QJsonValue> &)> resultHandler);
    // A tourist account is reported twice, true then false; anything else once, false.
    static void isTourist(std::function<void(bool)> resultHandler);
};
