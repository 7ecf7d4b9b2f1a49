#include "cloud/accountapi.h"

#include "cloud/httptransport.h"
#include "cloud/rc4cipher.h"
#include "cloud/serviceapi.h"
#include "model/app.h"
#include "model/appsettings.h"
#include "store/conversions.h"

#include <iostream>

QString AccountApi::encipherPassword(const QString &password) {
    const std::vector<quint8> key = Conversions::stringToUint8(QString::fromLatin1(PASSWORD_KEY));
    return Conversions::uint8ArrToBase64(Rc4Cipher::encrypt(Conversions::stringToUint8(password), key));
}

void AccountApi::login(const QString &username, const QString &password, LoginHandler resultHandler) {
    // Only the stored cookie is emptied; the shared one may still go out with this request.
    AppSettings().setCookie(QString());
    HttpTransport::postJsonRe(
        ServiceApi::appendUrl(QStringLiteral("/api/osx/login")),
        {{QStringLiteral("usernames"), username}, {QStringLiteral("password"), encipherPassword(password)}},
        [resultHandler = std::move(resultHandler)](const JsonReply &r) {
            if (!r.isSuccess()) {
                resultHandler(LoginResult::error(r.text()));
                return;
            }
            const QJsonValue &json = r.json();
            std::cout << "data - > " << HttpTransport::jsonText(json).toStdString() << std::endl;
            if (json[QLatin1String("state")].toInt() == 1)
                resultHandler(LoginResult::ok(json[QLatin1String("username")].toString()));
            else
                resultHandler(LoginResult::error(json[QLatin1String("msg")].toString()));
        });
}

void AccountApi::getUserInfo(CallHandler resultHandler) {
    HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/api/user/getUserInfo")),
                              {{QStringLiteral("token"), QString()}},
                              [resultHandler = std::move(resultHandler)](const JsonReply &r) {
                                  if (!r.isSuccess()) {
                                      resultHandler(CallResult::error(QStringLiteral("-2")));
                                      return;
                                  }
                                  const QJsonValue &json = r.json();
                                  if (json[QLatin1String("state")].toInt() == 1) {
                                      App::userInfo().username = json[QLatin1String("username")].toString();
                                      resultHandler(CallResult::ok());
                                  } else {
                                      resultHandler(CallResult::error(json[QLatin1String("msg")].toString()));
                                  }
                              });
}

void AccountApi::SyncCheck(std::function<void(const std::optional<QJsonValue> &)> resultHandler) {
    ServiceApi::postVersion(QStringLiteral("/api/user/SyncCheckOSX"), std::move(resultHandler));
}
