#pragma once

#include "storage/storageerror.h"

#include <utility>
#include <variant>

// What a storage call returns: its value, or the error that kept it from being done. Callers check
// ok() before they look at the value.
template <typename T> class StorageResult {
public:
    StorageResult(T value) : outcome_(std::move(value)) {}
    StorageResult(StorageError error) : outcome_(std::move(error)) {}

    bool ok() const { return outcome_.index() == 0; }
    const T &value() const & { return std::get<0>(outcome_); }
    T &&value() && { return std::get<0>(std::move(outcome_)); }
    const T &operator*() const & { return value(); }
    const T *operator->() const { return &value(); }
    const StorageError &error() const { return std::get<1>(outcome_); }

private:
    std::variant<T, StorageError> outcome_;
};

// A call that only succeeds or fails.
template <> class StorageResult<void> {
public:
    StorageResult() = default;
    StorageResult(StorageError error) : error_(std::move(error)), ok_(false) {}

    bool ok() const { return ok_; }
    const StorageError &error() const { return error_; }

private:
    StorageError error_;
    bool ok_ = true;
};
