#include "http/cookiereader.h"

namespace {

std::string trimmed(const std::string &s, std::size_t begin, std::size_t end) {
    while (begin < end && (s[begin] == ' ' || s[begin] == '\t'))
        ++begin;
    while (end > begin && (s[end - 1] == ' ' || s[end - 1] == '\t'))
        --end;
    return s.substr(begin, end - begin);
}

} // namespace

const std::string &CookieReader::sessionCookieName() {
    static const std::string name = "quillora_session";
    return name;
}

std::vector<std::string> CookieReader::sessionTokens(const std::vector<std::string> &cookieHeaders) {
    std::vector<std::string> out;
    for (const auto &header : cookieHeaders) {
        std::size_t start = 0;
        while (start <= header.size()) {
            std::size_t end = header.find(';', start);
            if (end == std::string::npos)
                end = header.size();
            const auto eq = header.find('=', start);
            if (eq != std::string::npos && eq < end && trimmed(header, start, eq) == sessionCookieName()) {
                auto value = trimmed(header, eq + 1, end);
                if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
                    value = value.substr(1, value.size() - 2);
                if (!value.empty())
                    out.push_back(value);
            }
            start = end + 1;
        }
    }
    return out;
}
