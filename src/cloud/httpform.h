#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QMap>
#include <QString>
#include <optional>

class QNetworkReply;

using FormFields = QMap<QString, QString>;

// The service's wire format: form-encoded requests, JSON replies, the session cookie.
namespace httpform {

// Every key and value percent-encoded on its own, so "+", "/", "=" and "&" survive.
QByteArray encode(const FormFields &fields);
// Any JSON value, scalars included; absent when the text is not JSON.
std::optional<QJsonValue> parseJson(const QByteArray &body);
// Compact JSON text of any value, for the log.
QString jsonText(const QJsonValue &json);
// True when the service answered with some HTTP status, whatever it was.
bool hasResponse(QNetworkReply *reply);
// The "Set-Cookie" header, empty when absent.
QString setCookieOf(QNetworkReply *reply);

} // namespace httpform
