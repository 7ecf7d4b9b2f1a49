#pragma once

#include "storage/storagerecords.h"

#include <cstdint>
#include <string>

class Storage;

// Storage per account: its phrases' labels and contents and the pictures it sent.
class Quota {
public:
    Quota(Storage &storage, std::int64_t bytes) : storage_(storage), bytes_(bytes) {}

    // Empty when the account may store `adding` more bytes (and the storage could tell), else the
    // refusal text.
    std::string problem(const UserRecord &user, std::int64_t adding) const;

private:
    Storage &storage_;
    std::int64_t bytes_;
};
