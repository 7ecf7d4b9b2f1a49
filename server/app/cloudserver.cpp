#include "app/cloudserver.h"

#include "api/apireply.h"
#include "app/filelimit.h"
#include "log/servicelog.h"

#include <algorithm>
#include <thread>

CloudServer::CloudServer(ServerConfig config, Storage &storage) : config_(std::move(config)) {
    Api::Options options;
    options.account.minVersion = config_.minVersion;
    options.account.downloadUrl = [this] {
        return config_.downloadUrl.empty() ? baseUrl() + "/" : config_.downloadUrl;
    };
    options.account.singleSession = config_.singleSession;
    options.account.secureCookie = config_.tls();
    options.maxPictureBytes = config_.maxPictureBytes;
    options.quotaBytes = config_.quotaBytes;
    options.threads = config_.threads;
    options.trustedProxies = config_.trustedProxies;
    options.streams = {config_.maxStreamsPerAccount, config_.maxStreamsPerAddress};
    api_ = std::make_unique<Api>(std::move(options), storage);

    HttpServer::Limits limits;
    limits.connections = config_.maxConnections;
    limits.connectionsPerAddress = config_.maxConnectionsPerAddress;
    limits.headerDeadline = limits.handshakeDeadline = std::chrono::seconds(config_.headerTimeout);
    limits.ioThreads = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 4);
    http_ = std::make_unique<HttpServer>(
        limits,
        [this](HttpServer::Request request, HttpServer::Completion done) {
            api_->dispatch(std::move(request), std::move(done));
        },
        [this](std::string_view path) { return api_->bodyLimit(path); }, &ApiReply::refusalBody);
}

CloudServer::~CloudServer() {
    stop();
    api_->stop();
}

std::string CloudServer::baseUrl() const {
    const bool v6 = config_.listen.find(':') != std::string::npos;
    const std::string host = v6 ? "[" + config_.listen + "]" : config_.listen;
    return std::string(config_.tls() ? "https" : "http") + "://" + host + ":" + std::to_string(http_->port());
}

int CloudServer::run() {
    if (config_.tls()) {
        if (const auto error = http_->useTls(config_.tlsCert, config_.tlsKey)) {
            ServiceLog::line(*error, ServiceLog::Stream::Error);
            return 1;
        }
    }
    // Every connection and change stream is a descriptor; beyond those, room for the database.
    FileLimit::raise(config_.maxConnections + config_.databaseConnections + config_.threads + 64);
    if (const auto error = http_->listen(config_.listen, config_.port)) {
        ServiceLog::line("cannot listen on " + config_.listen + ":" + std::to_string(config_.port) + ": " +
                             *error,
                         ServiceLog::Stream::Error);
        return 1;
    }
    http_->every(std::chrono::seconds(60), [this] {
        api_->maintain();
        api_->checkStreamSessions();
    });
    http_->every(std::chrono::seconds(20), [this] { api_->pingStreams(); });
    // Large request bodies come and go; freed memory goes back to the system soon after.
    http_->every(std::chrono::seconds(5), [this] { api_->releaseMemory(); });
    ServiceLog::write("quillora-cloud listening on " + baseUrl());
    http_->run();
    return 0;
}

void CloudServer::stop() {
    http_->stop();
}
