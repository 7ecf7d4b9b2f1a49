#pragma once

#include "http/formdata.h"
#include "http/httpserver.h"
#include "storage/storagerecords.h"
#include "storage/storageresult.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

class Storage;

// Who is asking: the session cookie a request carries, and whether the library it names ("dbname")
// is that user's.
class Sessions {
public:
    // Sessions end after this many idle seconds.
    static constexpr std::int64_t idleSeconds = 30LL * 24 * 3600;

    explicit Sessions(Storage &storage) : storage_(storage) {}

    // The signed-in user; nothing when no cookie names a live session.
    StorageResult<std::optional<UserRecord>> user(const HttpServer::Request &request);
    static bool owns(const UserRecord &user, const std::string &dbname);

private:
    Storage &storage_;
};
