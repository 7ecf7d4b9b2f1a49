#pragma once

#include "api/librarycache.h"
#include "api/routetable.h"
#include "storage/storageerror.h"
#include "storage/storagerecords.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>

class LibraryAccess;
class Quota;
class Storage;

// A user's library: classes and phrases, created, renamed or edited, swapped, deleted and read
// whole. Every call names the library ("dbname"): the signed-in user's own or a team library the
// user may read (and, for a change, change). `changed` hears of every change made.
class LibraryEndpoints {
public:
    LibraryEndpoints(Storage &storage, LibraryAccess &access, Quota &quota,
                     std::function<void(std::int64_t libraryId)> changed)
        : storage_(storage), access_(access), quota_(quota), changed_(std::move(changed)) {}

    void addRoutes(RouteTable &routes);

private:
    using Json = nlohmann::json;
    using Change = Json (LibraryEndpoints::*)(const FormData::Fields &, const UserRecord &);

    // A route whose handler runs once the library is known to be the caller's.
    RouteTable::Route change(Change handler);
    HttpServer::Response read(const RouteTable::Call &call, LibraryCache::Kind kind);
    // The reply around `data`, compressed in pieces; pieces unchanged since `previous` are reused.
    static std::shared_ptr<const LibraryCache::Reply>
    assemble(const std::vector<Json> &data, const std::vector<const std::string *> &signs,
             const std::shared_ptr<const LibraryCache::Reply> &previous);
    std::shared_ptr<const LibraryCache::Reply> build(const UserRecord &user, LibraryCache::Kind kind,
                                                     std::optional<StorageError> &failure);

    Json createClass(const FormData::Fields &form, const UserRecord &user);
    Json deleteClasses(const FormData::Fields &form, const UserRecord &user);
    Json renameClass(const FormData::Fields &form, const UserRecord &user);
    Json swapClasses(const FormData::Fields &form, const UserRecord &user);
    Json createPhrase(const FormData::Fields &form, const UserRecord &user);
    Json deletePhrases(const FormData::Fields &form, const UserRecord &user);
    Json editPhrase(const FormData::Fields &form, const UserRecord &user);
    Json swapPhrases(const FormData::Fields &form, const UserRecord &user);

    Storage &storage_;
    LibraryAccess &access_;
    Quota &quota_;
    std::function<void(std::int64_t libraryId)> changed_;
    LibraryCache cache_;
};
