#include "http/proxyaddress.h"

#include <boost/asio/ip/address.hpp>

#include <algorithm>
#include <optional>

namespace {

using boost::asio::ip::address;

// Parsed, with IPv4 clients of an IPv6 socket seen as the IPv4 addresses they are.
std::optional<address> parse(const std::string &text) {
    boost::system::error_code ec;
    auto ip = boost::asio::ip::make_address(text, ec);
    if (ec)
        return std::nullopt;
    if (ip.is_v6() && ip.to_v6().is_v4_mapped())
        ip = boost::asio::ip::make_address_v4(boost::asio::ip::v4_mapped, ip.to_v6());
    return ip;
}

} // namespace

bool ProxyAddress::isAddress(const std::string &text) {
    return parse(text).has_value();
}

std::string ProxyAddress::client(const std::string &peer, const std::vector<std::string> &forwardedFor,
                                 const std::vector<std::string> &trustedProxies) {
    const auto from = parse(peer);
    if (forwardedFor.empty() || !from ||
        std::none_of(trustedProxies.begin(), trustedProxies.end(),
                     [&](const std::string &proxy) { return parse(proxy) == from; }))
        return peer;
    // Earlier entries came from the client or proxies further out; only the last is our proxy's own.
    const auto &line = forwardedFor.back();
    const auto comma = line.rfind(',');
    auto last = line.substr(comma == std::string::npos ? 0 : comma + 1);
    last.erase(0, last.find_first_not_of(" \t"));
    last.erase(last.find_last_not_of(" \t") + 1);
    return isAddress(last) ? last : peer;
}
