#include "app/serverconfig.h"

#include "http/proxyaddress.h"

#include <charconv>
#include <cstdlib>

namespace {

template <typename T> bool number(const std::string &text, T &out) {
    const auto *end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, out);
    return ec == std::errc() && ptr == end;
}

} // namespace

std::string ServerConfig::databasePath() const {
    return dataDir + "/quillora-cloud.sqlite3";
}

std::size_t ServerConfig::connectionBound() const {
    // Database workers plus the sign-in workers, which look accounts up too.
    return databaseConnections ? databaseConnections : threads + 4;
}

bool ServerConfig::isPostgresUrl(const std::string &text) {
    return text.rfind("postgresql://", 0) == 0 || text.rfind("postgres://", 0) == 0;
}

std::string ServerConfig::defaultDataDir() {
    if (const char *xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg)
        return std::string(xdg) + "/quillora-cloud";
    const char *home = std::getenv("HOME");
    return std::string(home ? home : ".") + "/.local/share/quillora-cloud";
}

ServerConfig ServerConfig::parse(const std::vector<std::string> &args, std::vector<std::string> &positional,
                                 std::string &error) {
    ServerConfig c;
    for (std::size_t i = 0; i < args.size() && error.empty(); ++i) {
        const std::string &a = args[i];
        const auto value = [&](std::string &out) {
            if (i + 1 >= args.size()) {
                error = "missing value after " + a;
                return false;
            }
            out = args[++i];
            return true;
        };
        std::string v;
        if (a == "--listen") {
            value(c.listen);
        } else if (a == "--port") {
            if (value(v) && (!number(v, c.port) || c.port < 0 || c.port > 65535))
                error = "bad port: " + v;
        } else if (a == "--data") {
            value(c.dataDir);
        } else if (a == "--tls-cert") {
            value(c.tlsCert);
        } else if (a == "--tls-key") {
            value(c.tlsKey);
        } else if (a == "--min-version") {
            if (value(v) && (!number(v, c.minVersion) || c.minVersion < 1))
                error = "bad minimum version: " + v;
        } else if (a == "--download-url") {
            value(c.downloadUrl);
        } else if (a == "--single-session") {
            c.singleSession = true;
        } else if (a == "--max-picture-mib") {
            std::size_t mib = 0;
            if (value(v) && (!number(v, mib) || mib < 1 || mib > 1024))
                error = "bad picture size: " + v;
            c.maxPictureBytes = mib * 1024 * 1024;
        } else if (a == "--threads") {
            if (value(v) && (!number(v, c.threads) || c.threads < 1 || c.threads > 256))
                error = "bad thread count: " + v;
        } else if (a == "--max-connections") {
            if (value(v) &&
                (!number(v, c.maxConnections) || c.maxConnections < 1 || c.maxConnections > 100000))
                error = "bad connection count: " + v;
        } else if (a == "--max-connections-per-address") {
            if (value(v) && (!number(v, c.maxConnectionsPerAddress) || c.maxConnectionsPerAddress < 1 ||
                             c.maxConnectionsPerAddress > 100000))
                error = "bad connection count: " + v;
        } else if (a == "--max-streams-per-account" || a == "--max-streams-per-address") {
            auto &limit = a == "--max-streams-per-account" ? c.maxStreamsPerAccount : c.maxStreamsPerAddress;
            if (value(v) && (!number(v, limit) || limit < 1 || limit > 100000))
                error = "bad stream count: " + v;
        } else if (a == "--header-timeout") {
            if (value(v) && (!number(v, c.headerTimeout) || c.headerTimeout < 1 || c.headerTimeout > 600))
                error = "bad header timeout: " + v;
        } else if (a == "--quota-mib") {
            std::int64_t mib = 0;
            if (value(v) && (!number(v, mib) || mib < 1 || mib > 1024 * 1024))
                error = "bad quota: " + v;
            c.quotaBytes = mib * 1024 * 1024;
        } else if (a == "--database") {
            if (value(c.database) && !isPostgresUrl(c.database))
                error = "--database takes a postgresql:// address: " + c.database;
        } else if (a == "--database-connections") {
            if (value(v) && (!number(v, c.databaseConnections) || c.databaseConnections < 1 ||
                             c.databaseConnections > 1000))
                error = "bad connection count: " + v;
        } else if (a == "--trusted-proxy") {
            if (value(v) && ProxyAddress::isAddress(v))
                c.trustedProxies.push_back(v);
            else if (error.empty())
                error = "bad proxy address: " + v;
        } else if (a.rfind("--", 0) == 0) {
            error = "unknown option " + a;
        } else {
            positional.push_back(a);
        }
    }
    if (error.empty() && c.tlsCert.empty() != c.tlsKey.empty())
        error = "--tls-cert and --tls-key go together";
    if (c.dataDir.empty())
        c.dataDir = defaultDataDir();
    return c;
}
