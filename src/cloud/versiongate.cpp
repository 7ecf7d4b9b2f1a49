#include "cloud/versiongate.h"

#include "cloud/serviceapi.h"
#include "model/app.h"

#include <QtGlobal>

VersionGate VersionGate::judge(const std::optional<QJsonValue> &reply) {
    if (!reply)
        return VersionGate(Kind::NetworkFailure, {});
    const int version = (*reply)[QLatin1String("version")].toInt();
    if (version > App::version) {
        const QString text = (*reply)[QLatin1String("url")].toString();
        QUrl url(text, QUrl::StrictMode);
        if (!url.isValid() || url.scheme().isEmpty())
            qFatal("version check: the download address \"%s\" is not a valid address", qPrintable(text));
        return VersionGate(Kind::UpdateRequired, url);
    }
    if (version < 1)
        return VersionGate(Kind::NetworkFailure, {});
    return VersionGate(Kind::Ready, {});
}

QString VersionGate::updateMessage() {
    return QStringLiteral("版本过于老旧,请前往官网下载新版") + QStringLiteral(" 网址 ") +
           ServiceApi::webAddress();
}
