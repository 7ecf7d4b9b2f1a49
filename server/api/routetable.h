#pragma once

#include "http/formdata.h"
#include "http/httpserver.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

// Which handler answers a request: method and path, each endpoint family adding its own. A path
// ending in "*" stands for every path that starts with what comes before it.
class RouteTable {
public:
    // What a handler gets: the request, its form when the route takes one, and for a path ending in
    // "*" the part of the request's path that stands for it.
    struct Call {
        const HttpServer::Request &request;
        FormData::Fields form;
        std::string pathRest;
    };
    using Handler = std::function<HttpServer::Response(const Call &)>;

    struct Route {
        Handler handler;
        // False: the handler reads the body itself (a multipart upload).
        bool takesForm = true;
        // Runs on the hashing pool, behind the per-address sign-in throttle.
        bool checksPasswords = false;
        // The form field naming the account whose password is checked: a name that failed lately
        // gets its hashing from the small budget of failing sources.
        const char *nameField = nullptr;
        // The largest body accepted; 0 for the form limit.
        std::size_t bodyLimit = 0;
    };

    static constexpr std::size_t formBodyMax = 4 * 1024 * 1024;

    void add(const std::string &method, const std::string &path, Route route);

    struct Match {
        const Route *route = nullptr;
        std::string pathRest;
    };
    std::optional<Match> find(std::string_view method, std::string_view path) const;
    std::size_t bodyLimit(std::string_view path) const;

private:
    std::map<std::pair<std::string, std::string>, Route, std::less<>> exact_;
    // Method, prefix, route.
    std::vector<std::tuple<std::string, std::string, Route>> prefixed_;
};
