#pragma once

#include <string>
#include <vector>

// Behind a reverse proxy every connection comes from the proxy; the client is the address the proxy
// appended last to X-Forwarded-For. That header is believed only from the proxies named with
// --trusted-proxy: from anyone else it is a claim a client can make up.
class ProxyAddress {
public:
    static std::string client(const std::string &peer, const std::vector<std::string> &forwardedFor,
                              const std::vector<std::string> &trustedProxies);
    static bool isAddress(const std::string &text);
};
