#pragma once

#include "api/librarycache.h"
#include "api/workerpool.h"
#include "app/serverconfig.h"
#include "http/formdata.h"
#include "http/httpserver.h"
#include "security/loginthrottle.h"
#include "storage/storagerecords.h"
#include "storage/storageresult.h"

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

class Storage;

// The HTTP face of the service: every endpoint the desktop client calls, plus the web pages.
// Requests are routed on the I/O threads and run on worker pools: one for the database, a small
// one for password hashing, so a sign-in flood never holds up library calls.
class ApiServer {
public:
    ApiServer(ServerConfig config, Storage &storage);
    ~ApiServer();

    // Binds, prints the "listening on" line and serves until stop(). Returns the exit status.
    int run();
    void stop();

private:
    using Json = nlohmann::json;
    using Form = FormData::Fields;
    using Request = HttpServer::Request;
    using Response = HttpServer::Response;
    using Handler = std::function<Response(const Request &, const Form &)>;
    using UserHandler = std::function<Json(const Form &, const UserRecord &)>;

    struct Route {
        Handler handler;
        bool hashesPasswords = false;
    };

    void routes();
    void post(const std::string &path, std::function<Json(const Request &, const Form &)> handler);
    // The session must be valid and "dbname" must name its user.
    void postLibrary(const std::string &path, UserHandler handler);
    void dispatch(Request request, HttpServer::Completion done);
    Response handle(const Request &request);
    void maintain();

    StorageResult<std::optional<UserRecord>> sessionUser(const Request &req);
    std::string baseUrl() const;
    // Empty when the account may store `adding` more bytes (and the storage could tell).
    std::string quotaProblem(const UserRecord &user, std::int64_t adding);

    Response login(const Request &req, const Form &form);
    Response libraryRead(const Request &req, const Form &form, LibraryCache::Kind kind);
    Json createPhrase(const Form &form, const UserRecord &user);
    Json updatePhrase(const Form &form, const UserRecord &user);
    Json uploadPicture(const Request &req);
    Json picture(const std::string &encodedName);
    Json webRegister(const Form &form);
    Json webReset(const Request &req, const Form &form);
    // The account and address checks around a password check: the address must have a token,
    // the account's waiting time binds addresses that failed recently. Nothing when `verify` was
    // run and succeeded, else the refusal text.
    std::optional<std::string> guardedCheck(const Request &req, const std::string &nameKey,
                                            const std::function<bool()> &verify, const char *badText);

    ServerConfig config_;
    Storage &storage_;
    LibraryCache cache_;
    LoginThrottle throttle_;
    std::map<std::string, Route> posts_;
    std::unique_ptr<WorkerPool> workers_;
    std::unique_ptr<WorkerPool> hashers_;
    std::unique_ptr<HttpServer> http_;
};
