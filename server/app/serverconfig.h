#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Options of `quillora-cloud serve` (and the --data of the other commands).
class ServerConfig {
public:
    std::string listen = "127.0.0.1";
    int port = 8765;
    std::string dataDir;
    std::string tlsCert;
    std::string tlsKey;
    std::int64_t minVersion = 1;
    std::string downloadUrl; // empty: the service's own root page
    bool singleSession = false;
    std::size_t maxPictureBytes = 10u * 1024 * 1024;
    std::size_t threads = 32; // workers for database work (a write holds one until its sync)
    std::size_t maxConnections = 1000;
    std::size_t maxConnectionsPerAddress = 128;
    std::size_t maxStreamsPerAccount = 8; // change streams
    std::size_t maxStreamsPerAddress = 64;
    int headerTimeout = 10;                         // seconds for a TLS handshake, and for a request's header
    std::int64_t quotaBytes = 1024LL * 1024 * 1024; // per account
    std::string database;                           // a postgresql:// address; empty: SQLite in dataDir
    std::size_t databaseConnections = 0;            // 0: enough for every worker
    std::vector<std::string> trustedProxies;        // whose X-Forwarded-For names the client

    bool tls() const { return !tlsCert.empty(); }
    std::string databasePath() const;
    std::size_t connectionBound() const;
    static bool isPostgresUrl(const std::string &text);

    // Parses the words after the command name. Unknown options or bad values fill `error`;
    // words that are not options go to `positional`.
    static ServerConfig parse(const std::vector<std::string> &args, std::vector<std::string> &positional,
                              std::string &error);
    // $XDG_DATA_HOME/quillora-cloud, else ~/.local/share/quillora-cloud.
    static std::string defaultDataDir();
};
