#include "cloud/api_base.h"

#include "cloud/appsetting.h"
#include "cloud/mhttp.h"
#include "model/app.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

QString api_base::appendUrl(const QString &url) {
    return AppSetting::serviceUrl() + url;
}

QString api_base::webAddress() {
    return AppSetting::serviceUrl();
}

QString api_base::registerUrl() {
    return AppSetting::serviceUrl() + QStringLiteral("/#/mobile_register");
}

QString api_base::resetUrl() {
    return AppSetting::serviceUrl() + QStringLiteral("/#/mobile_reset");
}

void api_base::endProgram(const QString &message) {
    std::cout.flush();
    if (!message.isEmpty())
        std::cerr << message.toStdString() << std::endl;
    std::fflush(nullptr);
    // Nothing is saved or torn down on the way out.
    std::_Exit(1);
}

void api_base::getVersionCheck(std::function<void(const std::optional<QJsonValue> &)> resulrHandler) {
    postVersion(QStringLiteral("/api/util/osx/getVersionForm"), std::move(resulrHandler));
}

void api_base::postVersion(const QString &path,
                           std::function<void(const std::optional<QJsonValue> &)> resulrHandler) {
    mHttp::postJsonRe(appendUrl(path), {{QStringLiteral("version"), QString::number(App::version)}},
                      [resulrHandler = std::move(resulrHandler)](const mHttpJsonResult &r) {
                          if (r.isSuccess())
                              resulrHandler(r.json());
                          else
                              resulrHandler(std::nullopt);
                      });
}

void api_base::getISTourist(std::function<void(bool)> resulrHandler) {
    mHttp::postJsonRe(appendUrl(QStringLiteral("/api/ios/getIsTourist")),
                      {{QStringLiteral("version"), QString::number(App::version)}},
                      [resulrHandler = std::move(resulrHandler)](const mHttpJsonResult &r) {
                          if (!r.isSuccess()) {
                              resulrHandler(false);
                              return;
                          }
                          const QJsonValue &json = r.json();
                          std::cout << "----->>JSON " << mHttp::jsonText(json).toStdString() << std::endl;
                          if (json[QLatin1String("state")].toInt() == 1 &&
                              json[QLatin1String("re")].toInt() == 1)
                              resulrHandler(true);
                          // The second call for a tourist is deliberate.
                          resulrHandler(false);
                      });
}
