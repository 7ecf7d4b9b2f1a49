#include "cloud/httptransport.h"

#include "model/app.h"
#include "model/appsettings.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QThread>
#include <QUrl>
#include <atomic>
#include <iostream>

namespace {

std::atomic<int> timeoutMs{60000};

} // namespace

void HttpTransport::setTransferTimeout(int ms) {
    timeoutMs = ms;
}

int HttpTransport::transferTimeout() {
    return timeoutMs;
}

void HttpTransport::runOnGuiThread(std::function<void()> fn) {
    QCoreApplication *app = QCoreApplication::instance();
    if (QThread::currentThread() == app->thread())
        fn();
    else
        QMetaObject::invokeMethod(app, std::move(fn), Qt::QueuedConnection);
}

QNetworkAccessManager *HttpTransport::manager() {
    static QPointer<QNetworkAccessManager> nam;
    if (!nam)
        nam = new QNetworkAccessManager(QCoreApplication::instance());
    return nam;
}

QNetworkRequest HttpTransport::request(const QString &url) {
    QNetworkRequest req{QUrl(url)};
    // The session cookie lives in AppSettings only; Qt's jar must neither add nor keep cookies.
    req.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    req.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    req.setTransferTimeout(timeoutMs);
    return req;
}

QByteArray HttpTransport::formEncode(const FormFields &fields) {
    QByteArray body;
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        if (!body.isEmpty())
            body += '&';
        body += QUrl::toPercentEncoding(it.key()) + '=' + QUrl::toPercentEncoding(it.value());
    }
    return body;
}

std::optional<QJsonValue> HttpTransport::parseJson(const QByteArray &body) {
    // QJsonDocument only takes objects and arrays; wrapping lets a bare scalar through as well.
    QJsonParseError err;
    const QJsonDocument doc = QJsonDocument::fromJson('[' + body + ']', &err);
    if (err.error != QJsonParseError::NoError || !doc.isArray() || doc.array().size() != 1)
        return std::nullopt;
    return doc.array().at(0);
}

QString HttpTransport::jsonText(const QJsonValue &json) {
    const QByteArray wrapped = QJsonDocument(QJsonArray{json}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(wrapped.mid(1, wrapped.size() - 2));
}

bool HttpTransport::hasResponse(QNetworkReply *reply) {
    const auto code = reply->error();
    // Below 200 are connection and proxy failures (time-out included); above are HTTP-level errors,
    // and those still count as an answer.
    const bool transportFailed = code != QNetworkReply::NoError && code < QNetworkReply::ContentAccessDenied;
    return !transportFailed && reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
}

QString HttpTransport::setCookieOf(QNetworkReply *reply) {
    // Qt joins several Set-Cookie lines with a line break; the cookie rules only know ";".
    QString value = QString::fromUtf8(reply->rawHeader("Set-Cookie"));
    value.replace(QLatin1Char('\n'), QLatin1Char(';'));
    return value;
}

void HttpTransport::post(const QString &url, const FormFields &fields,
                         std::function<void(QNetworkReply *)> done) {
    runOnGuiThread([url, fields, done = std::move(done)]() {
        FormFields form = fields;
        form.insert(QStringLiteral("username"), App::userInfo().username);

        QNetworkRequest req = request(url);
        req.setHeader(QNetworkRequest::ContentTypeHeader,
                      QByteArrayLiteral("application/x-www-form-urlencoded; charset=utf-8"));
        const QString cookie = App::setting().cookie;
        if (!cookie.isEmpty())
            req.setRawHeader("Cookie", cookie.toUtf8());

        std::cout << "== == == 提交cookie " << AppSettings().cookie.toStdString() << std::endl;

        QNetworkReply *reply = manager()->post(req, formEncode(form));
        QObject::connect(reply, &QNetworkReply::finished, reply, [reply, done]() {
            reply->deleteLater();
            done(reply);
        });
    });
}

void HttpTransport::postJsonRe(const QString &url, const FormFields &fields,
                               std::function<void(const JsonReply &)> onResult) {
    post(url, fields, [onResult = std::move(onResult)](QNetworkReply *reply) {
        if (!hasResponse(reply)) {
            onResult(JsonReply::error(QString::fromUtf8(NETWORK_FAILURE)));
            return;
        }
        // A body that is not JSON counts as a failed request: its cookie is not kept either.
        const std::optional<QJsonValue> json = parseJson(reply->readAll());
        if (!json) {
            onResult(JsonReply::error(QString::fromUtf8(NETWORK_FAILURE)));
            return;
        }
        App::setting().saveCookie(setCookieOf(reply));
        onResult(JsonReply::success(*json));
    });
}

void HttpTransport::postString(const QString &url, const FormFields &fields,
                               std::function<void(const TextReply &)> onResult) {
    post(url, fields, [onResult = std::move(onResult)](QNetworkReply *reply) {
        if (!hasResponse(reply)) {
            onResult(TextReply::error(QString::fromUtf8(NETWORK_FAILURE)));
            return;
        }
        App::setting().saveCookie(setCookieOf(reply));
        onResult(TextReply::success(QString::fromUtf8(reply->readAll())));
    });
}
