#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

// The phrase content rules the desktop client applies, repeated on the service so that the
// derived columns it hands out match what the client would compute itself.
class ContentRules {
public:
    struct Derived {
        std::string texts;                 // every text run joined
        std::string images;                // picture names, each followed by "|"
        std::vector<std::string> pictures; // every picture name, in order, repeats included
    };

    // Accepts only a JSON array of objects with an integer "type" (1 text, 2 picture) and a
    // string "value"; anything else gives nothing.
    static std::optional<Derived> validate(const std::string &jsonValue);

    // JSON that repeats no key within an object; nothing otherwise or when malformed.
    static std::optional<nlohmann::json> parseStrict(const std::string &text);

    // Number of Unicode code points of well-formed UTF-8, or nothing for malformed text.
    static std::optional<std::size_t> utf8Length(const std::string &text);
};
