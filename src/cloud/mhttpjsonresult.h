#pragma once

#include <QJsonValue>
#include <QString>

// Outcome of a JSON request: the parsed body, or the failure text.
class mHttpJsonResult {
public:
    static mHttpJsonResult success(QJsonValue json) { return mHttpJsonResult(true, std::move(json), {}); }
    static mHttpJsonResult error(QString text) { return mHttpJsonResult(false, {}, std::move(text)); }

    bool isSuccess() const { return ok_; }
    const QJsonValue &json() const { return json_; }
    const QString &text() const { return text_; }

private:
    mHttpJsonResult(bool ok, QJsonValue json, QString text)
        : ok_(ok), json_(std::move(json)), text_(std::move(text)) {}
    bool ok_;
    QJsonValue json_;
    QString text_;
};
