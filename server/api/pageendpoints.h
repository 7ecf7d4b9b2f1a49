#pragma once

#include "api/routetable.h"

#include <nlohmann/json.hpp>

class SignInCheck;
class Storage;

// The service's own web pages: registration and password change, for people without the client
// at hand.
class PageEndpoints {
public:
    PageEndpoints(Storage &storage, SignInCheck &signIn) : storage_(storage), signIn_(signIn) {}

    void addRoutes(RouteTable &routes);

private:
    using Json = nlohmann::json;

    Json registerAccount(const RouteTable::Call &call);
    Json changePassword(const RouteTable::Call &call);

    Storage &storage_;
    SignInCheck &signIn_;
};
