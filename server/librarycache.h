#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

// Serialised "getAll" replies per user, valid as long as the user's library version is unchanged.
// The version lives in the database, so a change made by any process invalidates the entry.
class LibraryCache {
public:
    enum class Kind { Classes, Phrases };

    struct Reply {
        std::string plain;
        std::string gzip; // empty when compression failed
    };

    std::shared_ptr<const Reply> find(std::int64_t userId, Kind kind, std::int64_t version) const;
    void store(std::int64_t userId, Kind kind, std::int64_t version, std::shared_ptr<const Reply> reply);

private:
    struct Entry {
        std::int64_t version = -1;
        std::shared_ptr<const Reply> reply;
    };
    mutable std::mutex mutex_;
    std::map<std::pair<std::int64_t, Kind>, Entry> entries_;
};
