#pragma once

#include <QString>
#include <functional>

// Outcome of a call that returns nothing but success.
class CallResult {
public:
    static CallResult ok() { return CallResult(true, {}); }
    static CallResult error(QString msg) { return CallResult(false, std::move(msg)); }

    bool isOk() const { return ok_; }
    const QString &msg() const { return msg_; }

private:
    CallResult(bool ok, QString msg) : ok_(ok), msg_(std::move(msg)) {}
    bool ok_;
    QString msg_;
};

using CallHandler = std::function<void(const CallResult &)>;
