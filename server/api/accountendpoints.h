#pragma once

#include "api/routetable.h"

#include <cstdint>
#include <functional>
#include <string>

class Sessions;
class SignInCheck;
class Storage;

// The version gate, sign-in and the session checks of the desktop client.
class AccountEndpoints {
public:
    struct Options {
        std::int64_t minVersion = 1;
        // Where an outdated client is sent.
        std::function<std::string()> downloadUrl;
        // A sign-in ends the user's other sessions.
        bool singleSession = false;
        // The session cookie is sent over TLS only.
        bool secureCookie = false;
    };

    AccountEndpoints(Options options, Storage &storage, Sessions &sessions, SignInCheck &signIn)
        : options_(std::move(options)), storage_(storage), sessions_(sessions), signIn_(signIn) {}

    void addRoutes(RouteTable &routes);

private:
    HttpServer::Response version() const;
    HttpServer::Response tourist(const RouteTable::Call &call);
    HttpServer::Response login(const RouteTable::Call &call);
    HttpServer::Response userInfo(const RouteTable::Call &call);
    HttpServer::Response heartbeat(const RouteTable::Call &call);

    Options options_;
    Storage &storage_;
    Sessions &sessions_;
    SignInCheck &signIn_;
};
