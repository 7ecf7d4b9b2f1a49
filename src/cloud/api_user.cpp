#include "cloud/api_user.h"

#include "cloud/api_base.h"
#include "cloud/appsetting.h"
#include "cloud/mhttp.h"
#include "cloud/rc4.h"
#include "model/app.h"
#include "store/converts.h"

#include <iostream>

QString api_user::encipherPassword(const QString &password) {
    const std::vector<quint8> key = converts::stringToUint8(QString::fromLatin1(PASSWORD_KEY));
    return converts::uint8ArrToBase64(RC4::encrypt(converts::stringToUint8(password), key));
}

void api_user::login(const QString &username, const QString &password, ApiLoginResultHandler resulrHandler) {
    // Only the stored cookie is emptied; the shared one may still go out with this request.
    AppSetting().setCookie(QString());
    mHttp::postJsonRe(
        api_base::appendUrl(QStringLiteral("/api/osx/login")),
        {{QStringLiteral("usernames"), username}, {QStringLiteral("password"), encipherPassword(password)}},
        [resulrHandler = std::move(resulrHandler)](const mHttpJsonResult &r) {
            if (!r.isSuccess()) {
                resulrHandler(ApiLoginResult::error(r.text()));
                return;
            }
            const QJsonValue &json = r.json();
            std::cout << "data - > " << mHttp::jsonText(json).toStdString() << std::endl;
            if (json[QLatin1String("state")].toInt() == 1)
                resulrHandler(ApiLoginResult::ok(json[QLatin1String("username")].toString()));
            else
                resulrHandler(ApiLoginResult::error(json[QLatin1String("msg")].toString()));
        });
}

void api_user::getUserInfo(ApiResultBaseHandler resulrHandler) {
    mHttp::postJsonRe(api_base::appendUrl(QStringLiteral("/api/user/getUserInfo")),
                      {{QStringLiteral("token"), QString()}},
                      [resulrHandler = std::move(resulrHandler)](const mHttpJsonResult &r) {
                          if (!r.isSuccess()) {
                              resulrHandler(ApiResultBase::error(QStringLiteral("-2")));
                              return;
                          }
                          const QJsonValue &json = r.json();
                          if (json[QLatin1String("state")].toInt() == 1) {
                              App::userInfo().username = json[QLatin1String("username")].toString();
                              resulrHandler(ApiResultBase::ok());
                          } else {
                              resulrHandler(ApiResultBase::error(json[QLatin1String("msg")].toString()));
                          }
                      });
}

void api_user::SyncCheck(std::function<void(const std::optional<QJsonValue> &)> resulrHandler) {
    api_base::postVersion(QStringLiteral("/api/user/SyncCheckOSX"), std::move(resulrHandler));
}
