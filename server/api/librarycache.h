#pragma once

#include "http/chunkedgzip.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// Serialised "getAll" replies per user, valid as long as the user's library version is unchanged.
// The version lives in the database, so a change made by any process invalidates the entry.
// Past a byte budget the entries stored longest ago make room. However many readers ask for a
// library that changed, one of them builds the reply and the others wait for it.
class LibraryCache {
public:
    explicit LibraryCache(std::size_t maxBytes = 64u * 1024 * 1024) : maxBytes_(maxBytes) {}

    enum class Kind { Classes, Phrases };

    struct Reply {
        std::string plain;
        std::string gzip; // empty when compression failed
        // The pieces gzip was assembled from; the next build of the library reuses those unchanged.
        std::vector<ChunkedGzip::Piece> pieces;
    };

    using Builder = std::function<std::shared_ptr<const Reply>()>;

    // The reply for `version` or a later one; built by `build` when nobody has it yet and
    // nobody else is building it. A builder that returns nothing (it could not read the library)
    // or throws lets the next waiter try; get then returns nothing too.
    std::shared_ptr<const Reply> get(std::int64_t userId, Kind kind, std::int64_t version,
                                     const Builder &build);
    std::shared_ptr<const Reply> find(std::int64_t userId, Kind kind, std::int64_t version) const;
    // Whatever version is held, for building the next one from it.
    std::shared_ptr<const Reply> latest(std::int64_t userId, Kind kind) const;
    void store(std::int64_t userId, Kind kind, std::int64_t version, std::shared_ptr<const Reply> reply);
    // Builds finished since the cache was made (the benchmark and tests read it).
    std::uint64_t builds() const;

private:
    struct Entry {
        std::int64_t version = -1;
        std::shared_ptr<const Reply> reply;
        std::uint64_t stored = 0;
        bool building = false;
    };
    void storeLocked(std::int64_t userId, Kind kind, std::int64_t version,
                     std::shared_ptr<const Reply> reply);
    static std::size_t size(const Entry &e);

    std::size_t maxBytes_;
    mutable std::mutex mutex_;
    std::condition_variable built_;
    std::uint64_t builds_ = 0;
    std::map<std::pair<std::int64_t, Kind>, Entry> entries_;
    std::size_t bytes_ = 0;
    std::uint64_t clock_ = 0;
};
