#pragma once

#include <QString>
#include <functional>

// Outcome of signing in: the account name as the service spells it, or the text to show.
class ApiLoginResult {
public:
    static ApiLoginResult ok(QString username) { return ApiLoginResult(true, std::move(username)); }
    static ApiLoginResult error(QString msg) { return ApiLoginResult(false, std::move(msg)); }

    bool isOk() const { return ok_; }
    const QString &username() const { return text_; }
    const QString &msg() const { return text_; }

private:
    ApiLoginResult(bool ok, QString text) : ok_(ok), text_(std::move(text)) {}
    bool ok_;
    QString text_;
};

using ApiLoginResultHandler = std::function<void(const ApiLoginResult &)>;
