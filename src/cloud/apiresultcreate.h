#pragma once

#include <QString>
#include <functional>

// Outcome of a create call: the sign the service issued, or its message.
class apiResultCreate {
public:
    static apiResultCreate onSuccess(QString sign) { return apiResultCreate(true, std::move(sign)); }
    static apiResultCreate onError(QString msg) { return apiResultCreate(false, std::move(msg)); }

    bool isSuccess() const { return ok_; }
    const QString &sign() const { return text_; }
    const QString &msg() const { return text_; }

private:
    apiResultCreate(bool ok, QString text) : ok_(ok), text_(std::move(text)) {}
    bool ok_;
    QString text_;
};

using apiResultCreateHandler = std::function<void(const apiResultCreate &)>;
