#pragma once

#include <QString>
#include <functional>

// Outcome of an asynchronous library operation: success, or an error with the text shown to the user.
class DataResult {
public:
    static DataResult success() { return DataResult(true, {}); }
    static DataResult error(QString msg) { return DataResult(false, std::move(msg)); }

    bool isSuccess() const { return ok_; }
    bool isError() const { return !ok_; }
    const QString &msg() const { return msg_; }

private:
    DataResult(bool ok, QString msg) : ok_(ok), msg_(std::move(msg)) {}
    bool ok_;
    QString msg_;
};

// A caller that passes an empty callback is not notified.
using DataResultCallback = std::function<void(const DataResult &)>;
