#include "cloud/pictureapi.h"

#include "cloud/httptransport.h"
#include "cloud/serviceapi.h"
#include "model/app.h"
#include "model/appsettings.h"
#include "store/appfileutil.h"

#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <iostream>

void PictureApi::downloadPicture(const QString &filename, PictureDownloadHandler resultHandler) {
    HttpTransport::runOnGuiThread([filename, resultHandler = std::move(resultHandler)]() {
        const QString url = ServiceApi::appendUrl(QStringLiteral("/api/resource/word/getImage64/") +
                                                  QString::fromLatin1(filename.toUtf8().toBase64()));
        QNetworkReply *reply = HttpTransport::manager()->get(HttpTransport::request(url));
        QObject::connect(reply, &QNetworkReply::finished, reply, [reply, resultHandler]() {
            reply->deleteLater();
            if (!HttpTransport::hasResponse(reply)) {
                resultHandler(PictureDownloadResult::error({}));
                return;
            }
            const std::optional<QJsonValue> json = HttpTransport::parseJson(reply->readAll());
            if (!json || (*json)[QLatin1String("state")].toInt() != 1) {
                resultHandler(PictureDownloadResult::error({}));
                return;
            }
            resultHandler(PictureDownloadResult::success((*json)[QLatin1String("base64")].toString()));
        });
    });
}

void PictureApi::exist(const QString &filename, std::function<void(bool)> callback) {
    // The transport puts the same name under "username" again.
    HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/api/word/image/imageNameExist")),
                              {{QStringLiteral("fileName"), filename},
                               {QStringLiteral("username"), App::userInfo().username},
                               {QStringLiteral("dbname"), App::userInfo().username}},
                              [callback = std::move(callback)](const JsonReply &r) {
                                  if (!r.isSuccess()) {
                                      callback(false);
                                      return;
                                  }
                                  std::cout << "imageNameExist "
                                            << HttpTransport::jsonText(r.json()).toStdString() << std::endl;
                                  callback(r.json()[QLatin1String("state")].toInt() == 1);
                              });
}

namespace {

QHttpPart formPart(const QByteArray &name, const QByteArray &value) {
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader, QByteArray("form-data; name=\"" + name + "\""));
    part.setBody(value);
    return part;
}

} // namespace

void PictureApi::upload(const QString &filename, OperationCallback callback,
                        std::function<void(int)> progressbar) {
    HttpTransport::runOnGuiThread(
        [filename, callback = std::move(callback), progressbar = std::move(progressbar)]() {
            const std::optional<QByteArray> bytes = AppFileUtil::readImage(filename);
            if (!bytes) {
                std::cout << "上传服务器错误 "
                          << "读取图片文件失败" << std::endl;
                if (callback)
                    callback(OperationResult::error(QStringLiteral("上传失败:读取图片文件失败")));
                return;
            }

            auto *multi = new QHttpMultiPart(QHttpMultiPart::FormDataType);
            multi->append(formPart("dbname", App::userInfo().username.toUtf8()));
            multi->append(formPart("filename", filename.toUtf8()));
            QHttpPart file;
            // The service is always told "image/png", whatever the picture really is.
            file.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("image/png"));
            QByteArray quoted = filename.toUtf8();
            quoted.replace('\\', "\\\\").replace('"', "\\\"");
            file.setHeader(QNetworkRequest::ContentDispositionHeader,
                           QByteArray("form-data; name=\"file\"; filename=\"" + quoted + "\""));
            file.setBody(*bytes);
            multi->append(file);

            QNetworkRequest req =
                HttpTransport::request(ServiceApi::appendUrl(QStringLiteral("/api/word/image/uploadImage")));
            const QString cookie = App::setting().cookie;
            if (!cookie.isEmpty())
                req.setRawHeader("Cookie", cookie.toUtf8());

            QNetworkReply *reply = HttpTransport::manager()->post(req, multi);
            multi->setParent(reply);
            if (progressbar)
                QObject::connect(reply, &QNetworkReply::uploadProgress, reply,
                                 [progressbar](qint64 sent, qint64 total) {
                                     if (total > 0)
                                         progressbar(int(double(sent) / double(total) * 100.0));
                                 });
            QObject::connect(reply, &QNetworkReply::finished, reply, [reply, callback]() {
                reply->deleteLater();
                const QByteArray body = reply->readAll();
                std::cout << "uploadImage " << body.toStdString() << std::endl;
                if (!HttpTransport::hasResponse(reply)) {
                    const QString description = reply->errorString();
                    std::cout << "上传服务器错误 " << description.toStdString() << std::endl;
                    if (callback)
                        callback(OperationResult::error(QStringLiteral("上传失败:") + description));
                    return;
                }
                const std::optional<QJsonValue> parsed = HttpTransport::parseJson(body);
                if (!parsed) {
                    std::cout << "上传服务器错误 "
                              << "not JSON" << std::endl;
                    if (callback)
                        callback(OperationResult::error(QStringLiteral("上传失败:")));
                    return;
                }
                App::setting().saveCookie(HttpTransport::setCookieOf(reply));
                const QJsonValue &json = *parsed;
                const QString msg = json[QLatin1String("msg")].toString();
                if (callback)
                    callback(json[QLatin1String("state")].toInt() == 1 ? OperationResult::success()
                                                                       : OperationResult::error(msg));
                std::cout << "上传图片返回结果 " << msg.toStdString() << std::endl;
            });
        });
}
