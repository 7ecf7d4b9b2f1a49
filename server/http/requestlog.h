#pragma once

#include <chrono>
#include <string>

// One line per request on standard error: method, path, status, milliseconds. Bodies, headers
// and query strings never reach it, so neither passwords nor cookies nor pictures do.
class RequestLog {
public:
    static void write(const std::string &method, const std::string &path, int status,
                      std::chrono::steady_clock::time_point started);
};
