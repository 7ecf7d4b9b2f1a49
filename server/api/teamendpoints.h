#pragma once

#include "api/routetable.h"

#include <nlohmann/json.hpp>

class ChangeFeed;
class LibraryAccess;
class Sessions;
class Storage;

// What a member's client needs of its teams: the libraries it may use with its role in each, the
// change stream, the changes since a version it holds, and the usage counts it reports.
class TeamEndpoints {
public:
    TeamEndpoints(Storage &storage, Sessions &sessions, LibraryAccess &access, ChangeFeed &feed)
        : storage_(storage), sessions_(sessions), access_(access), feed_(feed) {}

    void addRoutes(RouteTable &routes);

private:
    using Json = nlohmann::json;

    Json libraries(const RouteTable::Call &call);
    HttpServer::Response stream(const RouteTable::Call &call);
    Json changes(const RouteTable::Call &call);
    Json usage(const RouteTable::Call &call);

    Storage &storage_;
    Sessions &sessions_;
    LibraryAccess &access_;
    ChangeFeed &feed_;
};
