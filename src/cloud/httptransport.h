#pragma once

#include "cloud/jsonreply.h"
#include "cloud/textreply.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <functional>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

using FormFields = QMap<QString, QString>;

// The one transport to the service: form-encoded POSTs with the session cookie, completions on the
// GUI thread. Callable from any thread; the request is always sent from the GUI thread.
class HttpTransport {
public:
    HttpTransport() = delete;

    static void postJsonRe(const QString &url, const FormFields &fields,
                           std::function<void(const JsonReply &)> onResult);
    static void postString(const QString &url, const FormFields &fields,
                           std::function<void(const TextReply &)> onResult);

    // A request that never completes fails after this long (60 s unless changed).
    static void setTransferTimeout(int ms);
    static int transferTimeout();

    // -- shared with the other calls of the cloud layer --

    // Runs fn on the GUI thread: at once when already there, else queued.
    static void runOnGuiThread(std::function<void()> fn);
    // The GUI thread's manager; Qt's cookie jar is kept out of every request made through request().
    static QNetworkAccessManager *manager();
    static QNetworkRequest request(const QString &url);
    // Every key and value percent-encoded on its own, so "+", "/", "=" and "&" survive.
    static QByteArray formEncode(const FormFields &fields);
    // Any JSON value, scalars included; absent when the text is not JSON.
    static std::optional<QJsonValue> parseJson(const QByteArray &body);
    // Compact JSON text of any value, for the log.
    static QString jsonText(const QJsonValue &json);
    // True when the service answered with some HTTP status, whatever it was.
    static bool hasResponse(QNetworkReply *reply);
    // The "Set-Cookie" header, empty when absent.
    static QString setCookieOf(QNetworkReply *reply);

    static inline const char *NETWORK_FAILURE = "网络连接失败:";

private:
    static void post(const QString &url, const FormFields &fields, std::function<void(QNetworkReply *)> done);
};
