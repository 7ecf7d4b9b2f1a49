#pragma once

#include <string>
#include <vector>

// Reads the session cookie from "Cookie" headers. The desktop client sends back cookie attributes
// as if they were cookies and keeps the blank after each ";" in the next name, so names are
// trimmed and unknown pieces ignored.
class CookieReader {
public:
    static const std::string &sessionCookieName();
    // Every value of the session cookie found, in order (a client may hold stale copies).
    static std::vector<std::string> sessionTokens(const std::vector<std::string> &cookieHeaders);
};
