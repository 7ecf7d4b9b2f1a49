#pragma once

#include <QString>
#include <functional>

// Outcome of a create call: the sign the service issued, or its message.
class CreateResult {
public:
    static CreateResult onSuccess(QString sign) { return CreateResult(true, std::move(sign)); }
    static CreateResult onError(QString msg) { return CreateResult(false, std::move(msg)); }

    bool isSuccess() const { return ok_; }
    const QString &sign() const { return text_; }
    const QString &msg() const { return text_; }

private:
    CreateResult(bool ok, QString text) : ok_(ok), text_(std::move(text)) {}
    bool ok_;
    QString text_;
};

using CreateHandler = std::function<void(const CreateResult &)>;
