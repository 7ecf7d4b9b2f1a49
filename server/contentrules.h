#pragma once

#include <optional>
#include <string>

// The phrase content rules the desktop client applies, repeated on the service so that the
// derived columns it hands out match what the client would compute itself.
class ContentRules {
public:
    struct Derived {
        std::string texts;  // every text run joined
        std::string images; // picture names, each followed by "|"
    };

    // Accepts only a JSON array of objects with an integer "type" (1 text, 2 picture) and a
    // string "value"; anything else gives nothing.
    static std::optional<Derived> validate(const std::string &jsonValue);

    // Number of Unicode code points of well-formed UTF-8, or nothing for malformed text.
    static std::optional<std::size_t> utf8Length(const std::string &text);
};
