#include "api/changefeed.h"

#include <nlohmann/json.hpp>

#include <algorithm>

ChangeFeed::Subscriber::~Subscriber() {
    if (feed)
        feed->release(*this);
}

std::shared_ptr<ChangeFeed::Subscriber>
ChangeFeed::reserve(std::int64_t accountId, const std::string &address, std::vector<std::string> cookies) {
    std::lock_guard lock(mutex_);
    auto &account = perAccount_[accountId];
    auto &from = perAddress_[address];
    if (account >= limits_.perAccount || from >= limits_.perAddress) {
        if (account == 0)
            perAccount_.erase(accountId);
        if (from == 0)
            perAddress_.erase(address);
        return nullptr;
    }
    ++account;
    ++from;
    auto s = std::make_shared<Subscriber>();
    s->feed = this;
    s->id = nextId_++;
    s->accountId = accountId;
    s->address = address;
    s->cookies = std::move(cookies);
    return s;
}

void ChangeFeed::release(const Subscriber &s) {
    std::lock_guard lock(mutex_);
    if (auto it = perAccount_.find(s.accountId); it != perAccount_.end() && --it->second == 0)
        perAccount_.erase(it);
    if (auto it = perAddress_.find(s.address); it != perAddress_.end() && --it->second == 0)
        perAddress_.erase(it);
}

std::shared_ptr<const std::string> ChangeFeed::versionEvent(std::int64_t, const std::string &name,
                                                            std::int64_t version) {
    return std::make_shared<const std::string>(
        "event: version\ndata: " + nlohmann::json{{"dbname", name}, {"version", version}}.dump() + "\n\n");
}

std::int64_t ChangeFeed::known(std::int64_t libraryId, std::int64_t version) {
    auto &latest = latest_[libraryId];
    latest = std::max(latest, version);
    return latest;
}

void ChangeFeed::open(const std::shared_ptr<Subscriber> &s, std::shared_ptr<HttpServer::EventStream> stream,
                      const std::vector<LibraryGrant> &libraries) {
    std::vector<std::shared_ptr<const std::string>> first;
    {
        std::lock_guard lock(mutex_);
        s->stream = stream;
        open_[s->id] = s;
        byAccount_[s->accountId].insert(s->id);
        for (const auto &library : libraries) {
            s->libraries.insert(library.id);
            byLibrary_[library.id].insert(s->id);
            names_[library.id] = library.name;
            // A change that committed after the list was read is already known here.
            first.push_back(versionEvent(library.id, library.name, known(library.id, library.version)));
        }
    }
    for (auto &event : first)
        stream->send(std::move(event));
}

void ChangeFeed::ended(const Subscriber &s) {
    std::shared_ptr<Subscriber> last; // released after the lock: its end gives back its place
    std::lock_guard lock(mutex_);
    if (auto it = open_.find(s.id); it != open_.end())
        last = std::move(it->second);
    for (const auto library : s.libraries)
        if (auto it = byLibrary_.find(library); it != byLibrary_.end()) {
            it->second.erase(s.id);
            if (it->second.empty())
                byLibrary_.erase(it);
        }
    if (auto it = byAccount_.find(s.accountId); it != byAccount_.end()) {
        it->second.erase(s.id);
        if (it->second.empty())
            byAccount_.erase(it);
    }
    open_.erase(s.id);
}

void ChangeFeed::publish(std::int64_t libraryId, std::int64_t version) {
    std::vector<std::shared_ptr<HttpServer::EventStream>> targets;
    std::shared_ptr<const std::string> event;
    {
        std::lock_guard lock(mutex_);
        auto &latest = latest_[libraryId];
        if (version <= latest)
            return;
        latest = version;
        const auto subscribers = byLibrary_.find(libraryId);
        if (subscribers == byLibrary_.end())
            return;
        event = versionEvent(libraryId, names_[libraryId], version);
        targets.reserve(subscribers->second.size());
        for (const auto id : subscribers->second)
            targets.push_back(open_.at(id)->stream);
    }
    for (const auto &stream : targets)
        stream->send(event);
}

void ChangeFeed::librariesChanged(std::int64_t accountId, const std::vector<LibraryGrant> &libraries) {
    static const auto changed = std::make_shared<const std::string>("event: libraries\ndata: {}\n\n");
    std::vector<std::pair<std::shared_ptr<HttpServer::EventStream>, std::shared_ptr<const std::string>>>
        sends;
    {
        std::lock_guard lock(mutex_);
        const auto streams = byAccount_.find(accountId);
        if (streams == byAccount_.end())
            return;
        std::unordered_set<std::int64_t> now;
        for (const auto &library : libraries) {
            now.insert(library.id);
            names_[library.id] = library.name;
        }
        for (const auto id : streams->second) {
            auto &s = *open_.at(id);
            sends.emplace_back(s.stream, changed);
            for (const auto &library : libraries)
                if (s.libraries.insert(library.id).second) {
                    byLibrary_[library.id].insert(id);
                    sends.emplace_back(
                        s.stream, versionEvent(library.id, library.name, known(library.id, library.version)));
                }
            for (auto it = s.libraries.begin(); it != s.libraries.end();) {
                if (now.count(*it)) {
                    ++it;
                    continue;
                }
                if (auto b = byLibrary_.find(*it); b != byLibrary_.end()) {
                    b->second.erase(id);
                    if (b->second.empty())
                        byLibrary_.erase(b);
                }
                it = s.libraries.erase(it);
            }
        }
    }
    for (auto &[stream, event] : sends)
        stream->send(event);
}

void ChangeFeed::revoke(std::int64_t accountId) {
    std::vector<std::shared_ptr<HttpServer::EventStream>> targets;
    {
        std::lock_guard lock(mutex_);
        if (const auto streams = byAccount_.find(accountId); streams != byAccount_.end())
            for (const auto id : streams->second)
                targets.push_back(open_.at(id)->stream);
    }
    for (const auto &stream : targets)
        stream->close();
}

void ChangeFeed::close(std::uint64_t subscriberId) {
    std::shared_ptr<HttpServer::EventStream> target;
    {
        std::lock_guard lock(mutex_);
        if (const auto it = open_.find(subscriberId); it != open_.end())
            target = it->second->stream;
    }
    if (target)
        target->close();
}

void ChangeFeed::ping() {
    static const auto comment = std::make_shared<const std::string>(": ping\n\n");
    std::vector<std::shared_ptr<HttpServer::EventStream>> targets;
    {
        std::lock_guard lock(mutex_);
        targets.reserve(open_.size());
        for (const auto &[id, s] : open_)
            targets.push_back(s->stream);
    }
    for (const auto &stream : targets)
        stream->send(comment);
}

std::vector<ChangeFeed::OpenStream> ChangeFeed::openStreams() const {
    std::lock_guard lock(mutex_);
    std::vector<OpenStream> out;
    out.reserve(open_.size());
    for (const auto &[id, s] : open_)
        out.push_back({id, s->accountId, s->cookies});
    return out;
}

std::size_t ChangeFeed::size() const {
    std::lock_guard lock(mutex_);
    return open_.size();
}
