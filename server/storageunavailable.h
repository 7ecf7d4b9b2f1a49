#pragma once

#include <stdexcept>

// A back-end could not do what was asked (database unreachable, statement refused). The request that
// met it fails with the service's error reply; the next one tries again.
class StorageUnavailable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
