#pragma once

#include <string>

// Why a storage call could not be done (database unreachable, statement refused, disk full). The
// request that met it is answered with the service's error reply; the next call tries again.
struct StorageError {
    std::string message;
};
