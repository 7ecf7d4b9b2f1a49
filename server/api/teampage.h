#pragma once

#include "api/routetable.h"
#include "storage/storagerecords.h"

#include <optional>
#include <string>

class Sessions;
class SignInCheck;
class Storage;

// The team page at /team: a team owner signs in, adds and removes members, changes roles and
// reads how much each phrase and each member is used. Rendered here, posted back as plain forms,
// with nothing fetched from elsewhere.
class TeamPage {
public:
    TeamPage(Storage &storage, Sessions &sessions, SignInCheck &signIn, bool secureCookie)
        : storage_(storage), sessions_(sessions), signIn_(signIn), secureCookie_(secureCookie) {}

    void addRoutes(RouteTable &routes);

private:
    HttpServer::Response show(const RouteTable::Call &call, const std::string &notice = {});
    HttpServer::Response signIn(const RouteTable::Call &call);
    HttpServer::Response signOut(const RouteTable::Call &call);
    HttpServer::Response members(const RouteTable::Call &call);

    std::string signInPage(const std::string &notice) const;
    std::string teamsPage(const UserRecord &user, const std::string &csrf, const std::string &notice);
    // The form token of the session the request carries; a form without it is not the page's own.
    static std::string csrfFor(const std::string &token);
    static bool csrfMatches(const HttpServer::Request &request, const std::string &posted);
    static HttpServer::Response html(std::string body, int status = 200);

    Storage &storage_;
    Sessions &sessions_;
    SignInCheck &signIn_;
    bool secureCookie_;
};
