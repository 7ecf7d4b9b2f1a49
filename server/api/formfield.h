#pragma once

#include "http/formdata.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The fields of the client's forms as the values the endpoints use.
class FormField {
public:
    static std::optional<std::string> text(const FormData::Fields &form, const char *name);
    // Decimal digits, "-" allowed in front; nothing for anything else or when absent.
    static std::optional<std::int64_t> integer(const FormData::Fields &form, const char *name);
    // "a" or "a|b|": one sign, or several each followed by a bar.
    static std::vector<std::string> signs(const FormData::Fields &form, const char *name);
};
