#pragma once

#include "http/httpserver.h"
#include "storage/storagerecords.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// The open change streams and what each may hear: "library L is at version V" for every library
// its account may read, "libraries" when that set or a role changed. A stream costs no thread:
// notices are posted to its connection. Versions only rise: a notice that arrives twice (from
// this instance and again from the database) or late is dropped.
class ChangeFeed {
public:
    struct Limits {
        std::size_t perAccount = 8;
        std::size_t perAddress = 64;
    };

    // One stream, from the moment its place is taken until it ends.
    struct Subscriber {
        ~Subscriber();
        ChangeFeed *feed = nullptr;
        std::uint64_t id = 0;
        std::int64_t accountId = 0;
        std::string address;
        std::vector<std::string> cookies; // to check its session now and then
        std::shared_ptr<HttpServer::EventStream> stream;
        std::unordered_set<std::int64_t> libraries;
    };

    explicit ChangeFeed(Limits limits) : limits_(limits) {}

    // A place for one more stream of the account from the address; nothing past a limit.
    std::shared_ptr<Subscriber> reserve(std::int64_t accountId, const std::string &address,
                                        std::vector<std::string> cookies);
    // Starts delivering: one version notice per library now, then one per change.
    void open(const std::shared_ptr<Subscriber> &subscriber, std::shared_ptr<HttpServer::EventStream> stream,
              const std::vector<LibraryGrant> &libraries);
    void ended(const Subscriber &subscriber);

    void publish(std::int64_t libraryId, std::int64_t version);
    // The account's libraries are now these: its streams follow them and hear "libraries".
    void librariesChanged(std::int64_t accountId, const std::vector<LibraryGrant> &libraries);
    // Ends every stream of the account; its client reconnects and asks what it may still read.
    void revoke(std::int64_t accountId);
    // Ends one stream (its session ended).
    void close(std::uint64_t subscriberId);
    void ping();

    struct OpenStream {
        std::uint64_t id;
        std::int64_t accountId;
        std::vector<std::string> cookies;
    };
    std::vector<OpenStream> openStreams() const;
    std::size_t size() const;

private:
    static std::shared_ptr<const std::string> versionEvent(std::int64_t libraryId, const std::string &name,
                                                           std::int64_t version);
    void release(const Subscriber &subscriber);
    std::int64_t known(std::int64_t libraryId, std::int64_t version);

    Limits limits_;
    mutable std::mutex mutex_;
    std::uint64_t nextId_ = 1;
    std::unordered_map<std::int64_t, std::size_t> perAccount_;
    std::unordered_map<std::string, std::size_t> perAddress_;
    std::unordered_map<std::uint64_t, std::shared_ptr<Subscriber>> open_;
    std::unordered_map<std::int64_t, std::unordered_set<std::uint64_t>> byLibrary_;
    std::unordered_map<std::int64_t, std::unordered_set<std::uint64_t>> byAccount_;
    std::unordered_map<std::int64_t, std::int64_t> latest_; // highest version heard per library
    std::unordered_map<std::int64_t, std::string> names_;   // library names, for the notices
};
