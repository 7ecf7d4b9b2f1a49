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
    if (version < entry.version)
        return;
    bytes_ -= size(entry);
    entry = {version, std::move(reply), ++clock_};
    bytes_ += size(entry);
    // Stores are rare (once per change of a library), so a scan for the oldest is cheap enough.
    while (bytes_ > maxBytes_ && entries_.size() > 1) {
        auto oldest = entries_.begin();
        for (auto it = entries_.begin(); it != entries_.end(); ++it)
            if (it->second.stored < oldest->second.stored)
                oldest = it;
        bytes_ -= size(oldest->second);
        entries_.erase(oldest);
    }
}
