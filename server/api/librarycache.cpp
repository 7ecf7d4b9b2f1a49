#include "api/librarycache.h"

std::shared_ptr<const LibraryCache::Reply> LibraryCache::find(std::int64_t userId, Kind kind,
                                                              std::int64_t version) const {
    std::lock_guard lock(mutex_);
    const auto it = entries_.find({userId, kind});
    if (it == entries_.end() || it->second.version != version)
        return nullptr;
    return it->second.reply;
}

std::shared_ptr<const LibraryCache::Reply> LibraryCache::latest(std::int64_t userId, Kind kind) const {
    std::lock_guard lock(mutex_);
    const auto it = entries_.find({userId, kind});
    return it == entries_.end() ? nullptr : it->second.reply;
}

std::size_t LibraryCache::size(const Entry &e) {
    if (!e.reply)
        return 0;
    std::size_t bytes = e.reply->plain.size() + e.reply->gzip.size();
    for (const auto &p : e.reply->pieces)
        bytes += p.deflated.size() + p.digest.size();
    return bytes;
}

std::shared_ptr<const LibraryCache::Reply> LibraryCache::get(std::int64_t userId, Kind kind,
                                                             std::int64_t version, const Builder &build) {
    const std::pair key{userId, kind};
    std::unique_lock lock(mutex_);
    for (;;) {
        auto &entry = entries_[key];
        if (entry.reply && entry.version >= version)
            return entry.reply;
        if (!entry.building) {
            entry.building = true;
            break;
        }
        built_.wait(lock);
    }
    lock.unlock();
    std::shared_ptr<const Reply> reply;
    try {
        reply = build();
    } catch (...) {
        lock.lock();
        entries_[key].building = false;
        built_.notify_all();
        throw;
    }
    lock.lock();
    entries_[key].building = false;
    if (reply) {
        storeLocked(userId, kind, version, reply);
        ++builds_;
    }
    built_.notify_all();
    return reply;
}

void LibraryCache::store(std::int64_t userId, Kind kind, std::int64_t version,
                         std::shared_ptr<const Reply> reply) {
    std::lock_guard lock(mutex_);
    storeLocked(userId, kind, version, std::move(reply));
}

std::uint64_t LibraryCache::builds() const {
    std::lock_guard lock(mutex_);
    return builds_;
}

void LibraryCache::storeLocked(std::int64_t userId, Kind kind, std::int64_t version,
                               std::shared_ptr<const Reply> reply) {
    auto &entry = entries_[{userId, kind}];
    if (version < entry.version)
        return;
    bytes_ -= size(entry);
    entry.version = version;
    entry.reply = std::move(reply);
    entry.stored = ++clock_;
    bytes_ += size(entry);
    // Stores are rare (once per change of a library), so a scan for the oldest is cheap enough.
    while (bytes_ > maxBytes_ && entries_.size() > 1) {
        auto oldest = entries_.end();
        for (auto it = entries_.begin(); it != entries_.end(); ++it)
            if (!it->second.building && it->second.reply &&
                (oldest == entries_.end() || it->second.stored < oldest->second.stored))
                oldest = it;
        if (oldest == entries_.end())
            break;
        bytes_ -= size(oldest->second);
        entries_.erase(oldest);
    }
}
