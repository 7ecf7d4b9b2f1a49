#include "cloud/versiongate.h"

#include "cloud/cloudclient.h"

VersionGate VersionGate::judge(const std::optional<QJsonValue> &reply) {
    const QString networkFailure = QStringLiteral("网络连接失败");
    if (!reply)
        return VersionGate(Kind::NetworkFailure, {}, networkFailure);
    const int version = (*reply)[QLatin1String("version")].toInt();
    if (version > CloudClient::version) {
        const QString text = (*reply)[QLatin1String("url")].toString();
        QUrl url(text, QUrl::StrictMode);
        if (!url.isValid() || url.scheme().isEmpty())
            return VersionGate(Kind::NetworkFailure, {}, QStringLiteral("服务给出的下载地址无效：") + text);
        return VersionGate(Kind::UpdateRequired, url);
    }
    if (version < 1)
        return VersionGate(Kind::NetworkFailure, {}, networkFailure);
    return VersionGate(Kind::Ready, {});
}

QString VersionGate::updateMessage(const QString &webAddress) {
    return QStringLiteral("版本过于老旧,请前往官网下载新版") + QStringLiteral(" 网址 ") + webAddress;
}
