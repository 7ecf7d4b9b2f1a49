#include "api/formfield.h"

#include <charconv>

std::optional<std::string> FormField::text(const FormData::Fields &form, const char *name) {
    const auto it = form.find(name);
    if (it == form.end())
        return std::nullopt;
    return it->second;
}

std::optional<std::int64_t> FormField::integer(const FormData::Fields &form, const char *name) {
    const auto value = text(form, name).value_or("");
    std::int64_t v = 0;
    const auto *end = value.data() + value.size();
    const auto [ptr, ec] = std::from_chars(value.data(), end, v);
    if (ec != std::errc() || ptr != end || value.empty())
        return std::nullopt;
    return v;
}

std::vector<std::string> FormField::signs(const FormData::Fields &form, const char *name) {
    const auto value = text(form, name).value_or("");
    std::vector<std::string> out;
    std::size_t start = 0;
    while (start < value.size()) {
        auto end = value.find('|', start);
        if (end == std::string::npos)
            end = value.size();
        if (end > start)
            out.push_back(value.substr(start, end - start));
        start = end + 1;
    }
    return out;
}
