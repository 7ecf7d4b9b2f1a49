#include "api/contentrules.h"

#include <set>
#include <vector>

std::optional<nlohmann::json> ContentRules::parseStrict(const std::string &text) {
    // Keys seen per open object; a repeated key would let two readers see different values.
    std::vector<std::set<std::string>> open;
    bool repeated = false;
    const auto onEvent = [&](int, nlohmann::json::parse_event_t event, nlohmann::json &parsed) {
        using Event = nlohmann::json::parse_event_t;
        if (event == Event::object_start)
            open.emplace_back();
        else if (event == Event::object_end && !open.empty())
            open.pop_back();
        else if (event == Event::key && !open.empty() &&
                 !open.back().insert(parsed.get<std::string>()).second)
            repeated = true;
        return true;
    };
    auto doc = nlohmann::json::parse(text, onEvent, false);
    if (doc.is_discarded() || repeated)
        return std::nullopt;
    return doc;
}

std::optional<ContentRules::Derived> ContentRules::validate(const std::string &jsonValue) {
    const auto parsed = parseStrict(jsonValue);
    if (!parsed || !parsed->is_array())
        return std::nullopt;
    const auto &doc = *parsed;
    if (!doc.is_array())
        return std::nullopt;
    Derived out;
    for (const auto &item : doc) {
        if (!item.is_object() || item.size() != 2)
            return std::nullopt;
        const auto type = item.find("type");
        const auto value = item.find("value");
        if (type == item.end() || value == item.end() || !type->is_number_integer() || !value->is_string())
            return std::nullopt;
        const auto kind = type->get<std::int64_t>();
        const auto &text = value->get_ref<const std::string &>();
        if (kind == 1) {
            out.texts += text;
        } else if (kind == 2) {
            out.pictures.push_back(text);
            // A name is skipped when it already occurs anywhere in the column, even inside another
            // name: the client decides repeats the same way.
            if (!text.empty() && out.images.find(text) == std::string::npos)
                out.images += text + "|";
        } else {
            return std::nullopt;
        }
    }
    return out;
}

std::optional<std::size_t> ContentRules::utf8Length(const std::string &text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        std::size_t extra;
        if (c < 0x80)
            extra = 0;
        else if ((c & 0xE0) == 0xC0 && c >= 0xC2)
            extra = 1;
        else if ((c & 0xF0) == 0xE0)
            extra = 2;
        else if ((c & 0xF8) == 0xF0 && c <= 0xF4)
            extra = 3;
        else
            return std::nullopt;
        if (i + extra >= text.size())
            return std::nullopt;
        for (std::size_t k = 1; k <= extra; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80)
                return std::nullopt;
        // The second byte rules out overlong forms, UTF-16 surrogates and code points past U+10FFFF.
        const auto second = static_cast<unsigned char>(text[i + 1]);
        if ((c == 0xE0 && second < 0xA0) || (c == 0xED && second > 0x9F) || (c == 0xF0 && second < 0x90) ||
            (c == 0xF4 && second > 0x8F))
            return std::nullopt;
        i += extra + 1;
        ++count;
    }
    return count;
}
