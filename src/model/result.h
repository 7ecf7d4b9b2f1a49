#pragma once

#include <QString>
#include <functional>
#include <optional>
#include <utility>

// The outcome of an operation that can fail: a value, or the message to show or log. Errors travel
// as values through every layer; only the application decides that a failure ends the program.
template <typename T> class [[nodiscard]] Result {
public:
    static Result success(T value) { return Result(std::move(value), {}); }
    static Result failure(QString message) { return Result(std::nullopt, std::move(message)); }

    bool isOk() const { return value_.has_value(); }
    explicit operator bool() const { return isOk(); }
    const T &value() const { return *value_; }
    T &value() { return *value_; }
    T takeValue() { return std::move(*value_); }
    // Empty when ok.
    const QString &error() const { return error_; }

private:
    Result(std::optional<T> value, QString error) : value_(std::move(value)), error_(std::move(error)) {}
    std::optional<T> value_;
    QString error_;
};

template <> class [[nodiscard]] Result<void> {
public:
    static Result success() { return Result(true, {}); }
    static Result failure(QString message) { return Result(false, std::move(message)); }

    bool isOk() const { return ok_; }
    explicit operator bool() const { return ok_; }
    const QString &error() const { return error_; }

private:
    Result(bool ok, QString error) : ok_(ok), error_(std::move(error)) {}
    bool ok_;
    QString error_;
};

// The completion of an operation that yields nothing; a caller that passes an empty one is not told.
using OperationCallback = std::function<void(const Result<void> &)>;
