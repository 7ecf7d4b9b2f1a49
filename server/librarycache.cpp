#include "librarycache.h"

std::shared_ptr<const LibraryCache::Reply> LibraryCache::find(std::int64_t userId, Kind kind,
                                                              std::int64_t version) const {
    std::lock_guard lock(mutex_);
    const auto it = entries_.find({userId, kind});
    if (it == entries_.end() || it->second.version != version)
        return nullptr;
    return it->second.reply;
}

void LibraryCache::store(std::int64_t userId, Kind kind, std::int64_t version,
                         std::shared_ptr<const Reply> reply) {
    std::lock_guard lock(mutex_);
    auto &entry = entries_[{userId, kind}];
    if (version >= entry.version)
        entry = {version, std::move(reply)};
}
