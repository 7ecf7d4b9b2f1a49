#pragma once

#include "api/accountendpoints.h"
#include "api/changefeed.h"
#include "api/libraryaccess.h"
#include "api/libraryendpoints.h"
#include "api/pageendpoints.h"
#include "api/pictureendpoints.h"
#include "api/quota.h"
#include "api/routetable.h"
#include "api/sessions.h"
#include "api/signincheck.h"
#include "api/teamendpoints.h"
#include "api/teampage.h"
#include "api/workerpool.h"
#include "http/httpserver.h"
#include "security/loginthrottle.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class Storage;

// Every endpoint of the service behind one route table. Requests are routed on the I/O threads and
// run on worker pools: one for the database, a small one for password hashing, so a sign-in flood
// never holds up library calls.
class Api {
public:
    struct Options {
        AccountEndpoints::Options account;
        std::size_t maxPictureBytes = 10u * 1024 * 1024;
        std::int64_t quotaBytes = 1024LL * 1024 * 1024;
        std::size_t threads = 32; // database workers
        std::vector<std::string> trustedProxies;
        ChangeFeed::Limits streams;
    };

    Api(Options options, Storage &storage);
    ~Api();
    Api(const Api &) = delete;
    Api &operator=(const Api &) = delete;

    // The HTTP server's handler: answers at once what needs no work (unknown paths, a throttled
    // sign-in, a full queue), queues the rest.
    void dispatch(HttpServer::Request request, HttpServer::Completion done);
    std::size_t bodyLimit(std::string_view path) const;
    // Purges expired sessions, old sign-in failures and forgotten addresses, on a worker.
    void maintain();
    // Hands memory freed by large request bodies back to the system, on a worker.
    void releaseMemory();
    // Keeps idle change streams alive through proxies, on an I/O thread.
    void pingStreams();
    // Ends the change streams whose session ended, on a worker.
    void checkStreamSessions();
    // Lets every worker finish what it holds.
    void stop();

private:
    HttpServer::Response run(const RouteTable::Route &route, const HttpServer::Request &request,
                             std::optional<FormData::Fields> form, std::string pathRest);
    static std::size_t hashingForSuspects();
    void onNotice(const ChangeNotice &notice);
    // Tells the change streams the library's new version.
    void announce(std::int64_t libraryId);

    Options options_;
    Storage &storage_;
    LoginThrottle throttle_;
    Sessions sessions_;
    SignInCheck signIn_;
    Quota quota_;
    LibraryAccess access_;
    ChangeFeed feed_;
    AccountEndpoints account_;
    LibraryEndpoints library_;
    PictureEndpoints pictures_;
    PageEndpoints pages_;
    TeamEndpoints team_;
    TeamPage teamPage_;
    RouteTable routes_;
    std::unique_ptr<WorkerPool> workers_;
    std::unique_ptr<WorkerPool> hashers_;
};
