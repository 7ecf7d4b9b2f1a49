#pragma once

#include <QString>
#include <functional>

// Outcome of an asynchronous library operation: success, or an error with the text shown to the user.
class OperationResult {
public:
    static OperationResult success() { return OperationResult(true, {}); }
    static OperationResult error(QString msg) { return OperationResult(false, std::move(msg)); }

    bool isSuccess() const { return ok_; }
    bool isError() const { return !ok_; }
    const QString &msg() const { return msg_; }

private:
    OperationResult(bool ok, QString msg) : ok_(ok), msg_(std::move(msg)) {}
    bool ok_;
    QString msg_;
};

// A caller that passes an empty callback is not notified.
using OperationCallback = std::function<void(const OperationResult &)>;
