#include "api/routetable.h"

void RouteTable::add(const std::string &method, const std::string &path, Route route) {
    if (!path.empty() && path.back() == '*')
        prefixed_.emplace_back(method, path.substr(0, path.size() - 1), std::move(route));
    else
        exact_[{method, path}] = std::move(route);
}

std::optional<RouteTable::Match> RouteTable::find(std::string_view method, std::string_view path) const {
    if (const auto it = exact_.find(std::pair{std::string(method), std::string(path)}); it != exact_.end())
        return Match{&it->second, {}};
    for (const auto &[routeMethod, prefix, route] : prefixed_)
        if (routeMethod == method && path.substr(0, prefix.size()) == prefix)
            return Match{&route, std::string(path.substr(prefix.size()))};
    return std::nullopt;
}

std::size_t RouteTable::bodyLimit(std::string_view path) const {
    for (const auto &[key, route] : exact_)
        if (key.second == path && route.bodyLimit > 0)
            return route.bodyLimit;
    return formBodyMax;
}
