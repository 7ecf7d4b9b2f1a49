#pragma once

#include <QJsonValue>
#include <QString>
#include <QUrl>
#include <optional>

// What the sign-in window does with the reply of the version check.
class VersionGate {
public:
    enum class Kind {
        NetworkFailure, // no reply, or a service version below 1: "失败" / "网络连接失败", then exit 1
        UpdateRequired, // this build is too old: "请更新" with updateMessage(), open url(), exit 1
        Ready,          // sign-in may go on
    };

    // A "url" that is not a valid address with an outdated build ends the program.
    static VersionGate judge(const std::optional<QJsonValue> &reply);

    Kind kind() const { return kind_; }
    const QUrl &url() const { return url_; }

    // "版本过于老旧,请前往官网下载新版 网址 " and the service's web address.
    static QString updateMessage();

private:
    VersionGate(Kind kind, QUrl url) : kind_(kind), url_(std::move(url)) {}
    Kind kind_;
    QUrl url_;
};
