#pragma once

#include "librarycache.h"
#include "serverconfig.h"
#include "storagerecords.h"

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

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
    using Handler = std::function<Json(const httplib::Request &)>;
    using UserHandler = std::function<Json(const httplib::Request &, const UserRecord &)>;

    void routes();
    void post(const std::string &path, Handler handler);
    // The session must be valid and "dbname" must name its user.
    void postLibrary(const std::string &path, UserHandler handler);

    std::optional<UserRecord> sessionUser(const httplib::Request &req);
    std::string baseUrl() const;

    Json login(const httplib::Request &req, httplib::Response &res);
    void libraryRead(const httplib::Request &req, httplib::Response &res, LibraryCache::Kind kind);
    Json createPhrase(const httplib::Request &req, const UserRecord &user);
    Json updatePhrase(const httplib::Request &req, const UserRecord &user);
    Json uploadPicture(const httplib::Request &req);
    Json picture(const std::string &encodedName);
    Json webRegister(const httplib::Request &req);
    Json webReset(const httplib::Request &req);

    ServerConfig config_;
    Storage &storage_;
    std::unique_ptr<httplib::Server> server_;
    LibraryCache cache_;
    int boundPort_ = 0;
};
