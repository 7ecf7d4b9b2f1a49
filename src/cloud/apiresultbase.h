#pragma once

#include <QString>
#include <functional>

// Outcome of a call that returns nothing but success.
class ApiResultBase {
public:
    static ApiResultBase ok() { return ApiResultBase(true, {}); }
    static ApiResultBase error(QString msg) { return ApiResultBase(false, std::move(msg)); }

    bool isOk() const { return ok_; }
    const QString &msg() const { return msg_; }

private:
    ApiResultBase(bool ok, QString msg) : ok_(ok), msg_(std::move(msg)) {}
    bool ok_;
    QString msg_;
};

using ApiResultBaseHandler = std::function<void(const ApiResultBase &)>;
