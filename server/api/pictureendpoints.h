#pragma once

#include "api/routetable.h"

#include <nlohmann/json.hpp>

#include <cstddef>

class LibraryAccess;
class Quota;
class Storage;

// Pictures, stored once under the MD5 of their bytes whoever sends them: the client asks whether
// one is there, uploads it, and downloads it by its name in Base64.
class PictureEndpoints {
public:
    PictureEndpoints(Storage &storage, LibraryAccess &access, Quota &quota, std::size_t maxPictureBytes)
        : storage_(storage), access_(access), quota_(quota), maxPictureBytes_(maxPictureBytes) {}

    void addRoutes(RouteTable &routes);

private:
    using Json = nlohmann::json;

    Json exists(const RouteTable::Call &call);
    Json upload(const RouteTable::Call &call);
    Json download(const RouteTable::Call &call);

    Storage &storage_;
    LibraryAccess &access_;
    Quota &quota_;
    std::size_t maxPictureBytes_;
};
