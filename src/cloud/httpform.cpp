#include "cloud/httpform.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QUrl>

namespace httpform {

QByteArray encode(const FormFields &fields) {
    QByteArray body;
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        if (!body.isEmpty())
            body += '&';
        body += QUrl::toPercentEncoding(it.key()) + '=' + QUrl::toPercentEncoding(it.value());
    }
    return body;
}

std::optional<QJsonValue> parseJson(const QByteArray &body) {
    // QJsonDocument only takes objects and arrays; wrapping lets a bare scalar through as well.
    QJsonParseError err;
    const QJsonDocument doc = QJsonDocument::fromJson('[' + body + ']', &err);
    if (err.error != QJsonParseError::NoError || !doc.isArray() || doc.array().size() != 1)
        return std::nullopt;
    return doc.array().at(0);
}

QString jsonText(const QJsonValue &json) {
    const QByteArray wrapped = QJsonDocument(QJsonArray{json}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(wrapped.mid(1, wrapped.size() - 2));
}

bool hasResponse(QNetworkReply *reply) {
    const auto code = reply->error();
    // Below 200 are connection and proxy failures (time-out included); above are HTTP-level errors,
    // and those still count as an answer.
    const bool transportFailed = code != QNetworkReply::NoError && code < QNetworkReply::ContentAccessDenied;
    return !transportFailed && reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
}

QString setCookieOf(QNetworkReply *reply) {
    // Qt joins several Set-Cookie lines with a line break; the cookie rules only know ";".
    QString value = QString::fromUtf8(reply->rawHeader("Set-Cookie"));
    value.replace(QLatin1Char('\n'), QLatin1Char(';'));
    return value;
}

} // namespace httpform
