#include "contentrules.h"

#include <nlohmann/json.hpp>

std::optional<ContentRules::Derived> ContentRules::validate(const std::string &jsonValue) {
    const auto doc = nlohmann::json::parse(jsonValue, nullptr, false);
    if (doc.is_discarded() || !doc.is_array())
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
        i += extra + 1;
        ++count;
    }
    return count;
}
