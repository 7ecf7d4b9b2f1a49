#pragma once

#include <QJsonValue>
#include <QString>
#include <QUrl>
#include <optional>

// What the sign-in window does with the reply of the version check.
class VersionGate {
public:
    enum class Kind {
        NetworkFailure, // no reply, a service version below 1 or a reply that makes no sense:
                        // "失败" / error(), then exit 1
        UpdateRequired, // this build is too old: "请更新" with updateMessage(), open url(), exit 1
        Ready,          // sign-in may go on
    };

    static VersionGate judge(const std::optional<QJsonValue> &reply);

    Kind kind() const { return kind_; }
    const QUrl &url() const { return url_; }
    // The text shown for a failure: "网络连接失败", or what was wrong with the reply.
    const QString &error() const { return error_; }

    // "版本过于老旧,请前往官网下载新版 网址 " and the service's web address.
    static QString updateMessage(const QString &webAddress);

private:
    VersionGate(Kind kind, QUrl url, QString error = {})
        : kind_(kind), url_(std::move(url)), error_(std::move(error)) {}
    Kind kind_;
    QUrl url_;
    QString error_;
};
