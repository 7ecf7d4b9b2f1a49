#pragma once

#include "http/formdata.h"
#include "http/httpserver.h"
#include "storage/storagerecords.h"

#include <nlohmann/json.hpp>

#include <string>
#include <variant>

class Sessions;
class Storage;

// Which library a request may use: its "dbname" names the signed-in account's own library or a
// team library the account belongs to. Every role reads a team library; editors and owners change
// it. Asked again on every request, so a removed member or a lowered role counts at once.
class LibraryAccess {
public:
    LibraryAccess(Storage &storage, Sessions &sessions) : storage_(storage), sessions_(sessions) {}

    struct Grant {
        UserRecord caller;
        LibraryGrant library;
    };
    // The grant, or the refusal to answer with.
    std::variant<Grant, nlohmann::json> check(const HttpServer::Request &request, const std::string &dbname,
                                              bool change);
    // The same for the form's "dbname", as the record the library endpoints work on: the
    // library's own row (an account's or a team's).
    std::variant<UserRecord, nlohmann::json> libraryOf(const HttpServer::Request &request,
                                                       const FormData::Fields &form, bool change);

private:
    Storage &storage_;
    Sessions &sessions_;
};
