#pragma once

#include <QJsonValue>
#include <QString>

// Outcome of a JSON request: the parsed body, or the failure text.
class JsonReply {
public:
    static JsonReply success(QJsonValue json) { return JsonReply(true, std::move(json), {}); }
    static JsonReply error(QString text) { return JsonReply(false, {}, std::move(text)); }

    bool isSuccess() const { return ok_; }
    const QJsonValue &json() const { return json_; }
    const QString &text() const { return text_; }

private:
    JsonReply(bool ok, QJsonValue json, QString text)
        : ok_(ok), json_(std::move(json)), text_(std::move(text)) {}
    bool ok_;
    QJsonValue json_;
    QString text_;
};
