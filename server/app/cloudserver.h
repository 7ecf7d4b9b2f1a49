#pragma once

#include "api/api.h"
#include "app/serverconfig.h"
#include "http/httpserver.h"

#include <memory>
#include <string>

class Storage;

// `quillora-cloud serve`: the HTTP server with its limits in front of the API, and the periodic
// upkeep.
class CloudServer {
public:
    CloudServer(ServerConfig config, Storage &storage);
    ~CloudServer();

    // Binds, prints the "listening on" line and serves until stop(). Returns the exit status.
    int run();
    void stop();

private:
    std::string baseUrl() const;

    ServerConfig config_;
    std::unique_ptr<Api> api_;
    std::unique_ptr<HttpServer> http_;
};
