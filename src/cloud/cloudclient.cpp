#include "cloud/cloudclient.h"

#include "cloud/rc4cipher.h"
#include "model/logging.h"
#include "model/phraselistreply.h"
#include "model/settings.h"
#include "store/appfileutil.h"

#include <QHttpMultiPart>
#include <QJsonArray>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

namespace {

QString failureOf(const QJsonValue &json) {
    return json[QLatin1String("msg")].toString();
}

bool accepted(const QJsonValue &json) {
    return json[QLatin1String("state")].toInt() == 1;
}

QHttpPart formPart(const QByteArray &name, const QByteArray &value) {
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader, QByteArray("form-data; name=\"" + name + "\""));
    part.setBody(value);
    return part;
}

PhraseClass classFromJson(const QJsonValue &item) {
    return PhraseClass(item[QLatin1String("id")].toInteger(), item[QLatin1String("sign")].toString(),
                       item[QLatin1String("label")].toString(), item[QLatin1String("position")].toInteger(),
                       item[QLatin1String("username")].toString());
}

} // namespace

CloudClient::CloudClient(Settings &settings, QObject *parent) : QObject(parent), settings_(settings) {}

QString CloudClient::url(const QString &path) const {
    return settings_.serviceUrl() + path;
}

QString CloudClient::webAddress() const {
    return settings_.serviceUrl();
}

QString CloudClient::registerUrl() const {
    return url(QStringLiteral("/#/mobile_register"));
}

QString CloudClient::resetUrl() const {
    return url(QStringLiteral("/#/mobile_reset"));
}

QString CloudClient::encipherPassword(const QString &password) {
    const QByteArray keyBytes(passwordKey);
    const QByteArray plain = password.toUtf8();
    const std::vector<quint8> cipher =
        Rc4Cipher::encrypt(std::vector<quint8>(plain.cbegin(), plain.cend()),
                           std::vector<quint8>(keyBytes.cbegin(), keyBytes.cend()));
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char *>(cipher.data()), qsizetype(cipher.size())).toBase64());
}

QNetworkRequest CloudClient::request(const QString &path) const {
    QNetworkRequest req{QUrl(url(path))};
    // The session cookie lives in the settings only; Qt's jar must neither add nor keep cookies.
    req.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    req.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    req.setTransferTimeout(timeoutMs_);
    return req;
}

void CloudClient::post(const QString &path, const FormFields &fields,
                       std::function<void(QNetworkReply *)> done) {
    FormFields form = fields;
    form.insert(QStringLiteral("username"), username_);
    QNetworkRequest req = request(path);
    req.setHeader(QNetworkRequest::ContentTypeHeader,
                  QByteArrayLiteral("application/x-www-form-urlencoded; charset=utf-8"));
    if (!settings_.cookie().isEmpty())
        req.setRawHeader("Cookie", settings_.cookie().toUtf8());
    QNetworkReply *reply = manager_.post(req, httpform::encode(form));
    connect(reply, &QNetworkReply::finished, reply, [reply, done = std::move(done)]() {
        reply->deleteLater();
        done(reply);
    });
}

void CloudClient::postJson(const QString &path, const FormFields &fields, Handler<QJsonValue> handler) {
    post(path, fields, [this, handler = std::move(handler)](QNetworkReply *reply) {
        const std::optional<QJsonValue> json =
            httpform::hasResponse(reply) ? httpform::parseJson(reply->readAll()) : std::nullopt;
        if (!json) {
            handler(Result<QJsonValue>::failure(QString::fromUtf8(networkFailure)));
            return;
        }
        settings_.mergeCookie(httpform::setCookieOf(reply));
        handler(Result<QJsonValue>::success(*json));
    });
}

void CloudClient::libraryRequest(const QString &path, const FormFields &fields, Handler<QJsonValue> handler) {
    postJson(path, fields, [handler = std::move(handler)](const Result<QJsonValue> &r) {
        if (r && !accepted(r.value()))
            handler(Result<QJsonValue>::failure(failureOf(r.value())));
        else
            handler(r);
    });
}

void CloudClient::libraryCall(const QString &path, const FormFields &fields, Handler<void> handler) {
    libraryRequest(path, fields, [handler = std::move(handler)](const Result<QJsonValue> &r) {
        handler(r ? Result<void>::success() : Result<void>::failure(r.error()));
    });
}

void CloudClient::signIn(const QString &username, const QString &password, Handler<QString> handler) {
    // Only the stored cookie is emptied; the current one still goes out with this request.
    settings_.clearStoredCookie();
    postJson(
        QStringLiteral("/api/osx/login"),
        {{QStringLiteral("usernames"), username}, {QStringLiteral("password"), encipherPassword(password)}},
        [handler = std::move(handler)](const Result<QJsonValue> &r) {
            if (!r) {
                handler(Result<QString>::failure(r.error()));
                return;
            }
            qCInfo(lcCloud, "sign-in reply: %s", qUtf8Printable(httpform::jsonText(r.value())));
            if (accepted(r.value()))
                handler(Result<QString>::success(r.value()[QLatin1String("username")].toString()));
            else
                handler(Result<QString>::failure(failureOf(r.value())));
        });
}

void CloudClient::checkVersion(ReplyHandler handler) {
    postJson(QStringLiteral("/api/util/osx/getVersionForm"),
             {{QStringLiteral("version"), QString::number(version)}},
             [handler = std::move(handler)](const Result<QJsonValue> &r) {
                 handler(r ? std::optional<QJsonValue>(r.value()) : std::nullopt);
             });
}

void CloudClient::checkSession(ReplyHandler handler) {
    postJson(QStringLiteral("/api/user/SyncCheckOSX"),
             {{QStringLiteral("version"), QString::number(version)}},
             [handler = std::move(handler)](const Result<QJsonValue> &r) {
                 handler(r ? std::optional<QJsonValue>(r.value()) : std::nullopt);
             });
}

void CloudClient::createClass(const QString &label, const QString &position, const QString &dbname,
                              Handler<QString> handler) {
    libraryRequest(QStringLiteral("/api/word/class/create"),
                   {{QStringLiteral("label"), label},
                    {QStringLiteral("position"), position},
                    {QStringLiteral("dbname"), dbname}},
                   [handler = std::move(handler)](const Result<QJsonValue> &r) {
                       handler(r ? Result<QString>::success(r.value()[QLatin1String("sign")].toString())
                                 : Result<QString>::failure(r.error()));
                   });
}

void CloudClient::removeClass(const QString &sign, const QString &dbname, Handler<void> handler) {
    libraryCall(QStringLiteral("/api/word/class/del"),
                {{QStringLiteral("sign"), sign}, {QStringLiteral("dbname"), dbname}}, std::move(handler));
}

void CloudClient::renameClass(const QString &sign, const QString &newLabel, const QString &dbname,
                              Handler<void> handler) {
    libraryCall(QStringLiteral("/api/word/class/upLabel"),
                {{QStringLiteral("sign"), sign},
                 {QStringLiteral("newLabel"), newLabel},
                 {QStringLiteral("dbname"), dbname}},
                std::move(handler));
}

void CloudClient::swapClasses(const QString &sign1, const QString &sign2, const QString &dbname,
                              Handler<void> handler) {
    libraryCall(QStringLiteral("/api/word/class/swapPosition"),
                {{QStringLiteral("sign1"), sign1},
                 {QStringLiteral("sign2"), sign2},
                 {QStringLiteral("dbname"), dbname}},
                std::move(handler));
}

void CloudClient::fetchClasses(const QString &dbname, Handler<QList<PhraseClass>> handler) {
    libraryRequest(QStringLiteral("/api/word/class/getAll"), {{QStringLiteral("dbname"), dbname}},
                   [handler = std::move(handler)](const Result<QJsonValue> &r) {
                       if (!r) {
                           handler(Result<QList<PhraseClass>>::failure(r.error()));
                           return;
                       }
                       const QJsonArray items = r.value()[QLatin1String("data")].toArray();
                       QList<PhraseClass> data;
                       data.reserve(items.size());
                       for (const QJsonValue &item : items)
                           data.append(classFromJson(item));
                       handler(Result<QList<PhraseClass>>::success(std::move(data)));
                   });
}

void CloudClient::createPhrase(const QString &parentSign, const QString &label, const QString &jsonValue,
                               const QString &position, const QString &dbname, Handler<QString> handler) {
    libraryRequest(QStringLiteral("/api/word/list/create"),
                   {{QStringLiteral("parentSign"), parentSign},
                    {QStringLiteral("label"), label},
                    {QStringLiteral("jsonValue"), jsonValue},
                    {QStringLiteral("position"), position},
                    {QStringLiteral("dbname"), dbname}},
                   [handler = std::move(handler)](const Result<QJsonValue> &r) {
                       handler(r ? Result<QString>::success(r.value()[QLatin1String("sign")].toString())
                                 : Result<QString>::failure(r.error()));
                   });
}

void CloudClient::removePhrase(const QString &sign, const QString &dbname, Handler<void> handler) {
    libraryCall(QStringLiteral("/api/word/list/del"),
                {{QStringLiteral("sign"), sign}, {QStringLiteral("dbname"), dbname}}, std::move(handler));
}

void CloudClient::updatePhrase(const QString &newParentSign, const QString &sign, const QString &newLabel,
                               const QString &newJsonValue, const QString &dbname, Handler<void> handler) {
    libraryCall(QStringLiteral("/api/word/list/upValue"),
                {{QStringLiteral("sign"), sign},
                 {QStringLiteral("newParentSign"), newParentSign},
                 {QStringLiteral("newLabel"), newLabel},
                 {QStringLiteral("newJsonValue"), newJsonValue},
                 {QStringLiteral("dbname"), dbname}},
                std::move(handler));
}

void CloudClient::swapPhrases(const QString &sign1, const QString &sign2, const QString &dbname,
                              Handler<void> handler) {
    // The service's path keeps its historical spelling.
    libraryCall(QStringLiteral("/api/word/list/swapPostion"),
                {{QStringLiteral("sign1"), sign1},
                 {QStringLiteral("sign2"), sign2},
                 {QStringLiteral("dbname"), dbname}},
                std::move(handler));
}

void CloudClient::fetchPhrases(const QString &dbname, Handler<QList<Phrase>> handler) {
    // Tens of thousands of phrases: read straight from the body instead of through a QJsonValue.
    post(QStringLiteral("/api/word/list/getAll"), {{QStringLiteral("dbname"), dbname}},
         [this, handler = std::move(handler)](QNetworkReply *reply) {
             if (!httpform::hasResponse(reply)) {
                 handler(Result<QList<Phrase>>::failure(QString::fromUtf8(networkFailure)));
                 return;
             }
             settings_.mergeCookie(httpform::setCookieOf(reply));
             std::optional<PhraseListReply> list = PhraseListReply::fromText(reply->readAll());
             if (!list) {
                 handler(Result<QList<Phrase>>::failure(QStringLiteral("服务返回的词条列表无法读取")));
                 return;
             }
             if (list->state != 1) {
                 handler(Result<QList<Phrase>>::failure(list->msg));
                 return;
             }
             qCInfo(lcCloud, "词条数量 %lld", qlonglong(list->data.size()));
             handler(Result<QList<Phrase>>::success(std::move(list->data)));
         });
}

void CloudClient::downloadPicture(const QString &filename, Handler<QString> handler) {
    QNetworkReply *reply = manager_.get(request(QStringLiteral("/api/resource/word/getImage64/") +
                                                QString::fromLatin1(filename.toUtf8().toBase64())));
    connect(reply, &QNetworkReply::finished, reply, [reply, handler = std::move(handler)]() {
        reply->deleteLater();
        const std::optional<QJsonValue> json =
            httpform::hasResponse(reply) ? httpform::parseJson(reply->readAll()) : std::nullopt;
        if (!json || !accepted(*json)) {
            handler(Result<QString>::failure(QString::fromUtf8(networkFailure)));
            return;
        }
        handler(Result<QString>::success((*json)[QLatin1String("base64")].toString()));
    });
}

void CloudClient::pictureExists(const QString &filename, std::function<void(bool)> handler,
                                const QString &dbname) {
    postJson(QStringLiteral("/api/word/image/imageNameExist"),
             {{QStringLiteral("fileName"), filename},
              {QStringLiteral("dbname"), dbname.isEmpty() ? username_ : dbname}},
             [handler = std::move(handler)](const Result<QJsonValue> &r) {
                 if (r)
                     qCDebug(lcCloud, "imageNameExist %s", qUtf8Printable(httpform::jsonText(r.value())));
                 handler(r && accepted(r.value()));
             });
}

void CloudClient::uploadPicture(const QString &filename, Handler<void> handler,
                                std::function<void(int)> progress, const QString &dbname) {
    const std::optional<QByteArray> bytes = AppFileUtil::readImage(filename);
    if (!bytes) {
        qCWarning(lcCloud, "upload: cannot read the picture file %s", qUtf8Printable(filename));
        handler(Result<void>::failure(QStringLiteral("上传失败:读取图片文件失败")));
        return;
    }
    auto *multi = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    multi->append(formPart("dbname", (dbname.isEmpty() ? username_ : dbname).toUtf8()));
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

    QNetworkRequest req = request(QStringLiteral("/api/word/image/uploadImage"));
    if (!settings_.cookie().isEmpty())
        req.setRawHeader("Cookie", settings_.cookie().toUtf8());
    QNetworkReply *reply = manager_.post(req, multi);
    multi->setParent(reply);
    if (progress)
        connect(reply, &QNetworkReply::uploadProgress, reply, [progress](qint64 sent, qint64 total) {
            if (total > 0)
                progress(int(double(sent) / double(total) * 100.0));
        });
    connect(reply, &QNetworkReply::finished, reply, [this, reply, handler = std::move(handler)]() {
        reply->deleteLater();
        const QByteArray body = reply->readAll();
        if (!httpform::hasResponse(reply)) {
            qCWarning(lcCloud, "upload failed: %s", qUtf8Printable(reply->errorString()));
            handler(Result<void>::failure(QStringLiteral("上传失败:") + reply->errorString()));
            return;
        }
        const std::optional<QJsonValue> json = httpform::parseJson(body);
        if (!json) {
            qCWarning(lcCloud, "upload failed: the reply is not JSON");
            handler(Result<void>::failure(QStringLiteral("上传失败:")));
            return;
        }
        settings_.mergeCookie(httpform::setCookieOf(reply));
        qCDebug(lcCloud, "uploadImage %s", body.constData());
        handler(accepted(*json) ? Result<void>::success() : Result<void>::failure(failureOf(*json)));
    });
}

void CloudClient::fetchLibraries(Handler<QList<LibraryInfo>> handler) {
    libraryRequest(QStringLiteral("/api/team/libraries"), {},
                   [handler = std::move(handler)](const Result<QJsonValue> &r) {
                       if (!r) {
                           handler(Result<QList<LibraryInfo>>::failure(r.error()));
                           return;
                       }
                       QList<LibraryInfo> data;
                       for (const QJsonValue &item : r.value()[QLatin1String("data")].toArray()) {
                           LibraryInfo library{item[QLatin1String("dbname")].toString(),
                                               item[QLatin1String("team")].toBool(),
                                               item[QLatin1String("role")].toString(),
                                               item[QLatin1String("version")].toInteger()};
                           if (library.dbname.isEmpty()) {
                               handler(Result<QList<LibraryInfo>>::failure(
                                   QStringLiteral("服务返回的词库列表无法读取")));
                               return;
                           }
                           data.append(std::move(library));
                       }
                       handler(Result<QList<LibraryInfo>>::success(std::move(data)));
                   });
}

void CloudClient::fetchChanges(const QString &dbname, qint64 since, Handler<Changes> handler) {
    libraryRequest(QStringLiteral("/api/team/changes"),
                   {{QStringLiteral("dbname"), dbname}, {QStringLiteral("since"), QString::number(since)}},
                   [handler = std::move(handler)](const Result<QJsonValue> &r) {
                       if (!r) {
                           handler(Result<Changes>::failure(r.error()));
                           return;
                       }
                       const QJsonValue data = r.value()[QLatin1String("data")];
                       Changes changes;
                       changes.version = data[QLatin1String("version")].toInteger();
                       changes.full = data[QLatin1String("full")].toBool();
                       for (const QJsonValue &item : data[QLatin1String("classes")].toArray())
                           changes.classes.append(classFromJson(item));
                       bool readable = changes.version > 0;
                       for (const QJsonValue &item : data[QLatin1String("phrases")].toArray()) {
                           changes.phrases.append(Phrase::fromJson(item.toObject()));
                           readable = readable && !changes.phrases.last().sign.isEmpty();
                       }
                       for (const QJsonValue &item : data[QLatin1String("deleted")].toArray())
                           changes.deleted.append(item.toString());
                       if (!readable) {
                           handler(Result<Changes>::failure(QStringLiteral("服务返回的词库变更无法读取")));
                           return;
                       }
                       handler(Result<Changes>::success(std::move(changes)));
                   });
}

void CloudClient::reportUsage(const QString &dbname, const QString &batch, const QString &counts,
                              std::function<void(Report, const QString &)> handler) {
    postJson(QStringLiteral("/api/team/usage"),
             {{QStringLiteral("dbname"), dbname},
              {QStringLiteral("batch"), batch},
              {QStringLiteral("counts"), counts}},
             [handler = std::move(handler)](const Result<QJsonValue> &r) {
                 if (!r)
                     handler(Report::Failed, r.error());
                 else if (accepted(r.value()))
                     handler(Report::Accepted, QString());
                 else
                     handler(Report::Refused, failureOf(r.value()));
             });
}

QNetworkReply *CloudClient::openChangeStream() {
    QNetworkRequest req = request(QStringLiteral("/api/team/stream"));
    // Open for as long as the session lasts: its pings, not a transfer timeout, tell a dead link.
    req.setTransferTimeout(0);
    req.setRawHeader("Accept", "text/event-stream");
    req.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    if (!settings_.cookie().isEmpty())
        req.setRawHeader("Cookie", settings_.cookie().toUtf8());
    return manager_.get(req);
}
