#pragma once

#include "librarycache.h"
#include "serverconfig.h"
#include "storagerecords.h"

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include <map>

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

class Storage;

// The HTTP face of the service: every endpoint the desktop client calls, plus the web pages.
class ApiServer {
public:
    ApiServer(ServerConfig config, Storage &storage);
    ~ApiServer();

    // Binds, prints the "listening on" line and serves until stop(). Returns the exit status.
    int run();
    void stop();

private:
    using Json = nlohmann::json;
    using Form = std::multimap<std::string, std::string>;
    // A handler returns the reply, or null when it has written the response itself.
    using Handler = std::function<Json(const httplib::Request &, const Form &, httplib::Response &)>;
    using UserHandler = std::function<Json(const Form &, const UserRecord &)>;

    void routes();
    void post(const std::string &path, Handler handler);
    // The session must be valid and "dbname" must name its user.
    void postLibrary(const std::string &path, UserHandler handler);

    std::optional<UserRecord> sessionUser(const httplib::Request &req);
    std::string baseUrl() const;

    Json login(const Form &form, httplib::Response &res);
    Json libraryRead(const httplib::Request &req, const Form &form, httplib::Response &res,
                     LibraryCache::Kind kind);
    Json createPhrase(const Form &form, const UserRecord &user);
    Json updatePhrase(const Form &form, const UserRecord &user);
    Json uploadPicture(const httplib::Request &req);
    Json picture(const std::string &encodedName);
    Json webRegister(const Form &form);
    Json webReset(const Form &form);

    ServerConfig config_;
    Storage &storage_;
    std::unique_ptr<httplib::Server> server_;
    LibraryCache cache_;
    int boundPort_ = 0;
};
