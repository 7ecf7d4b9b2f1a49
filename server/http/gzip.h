#pragma once

#include <optional>
#include <string>

// gzip framing for replies that are sent many times and built once.
class Gzip {
public:
    static std::optional<std::string> compress(const std::string &data);
};
