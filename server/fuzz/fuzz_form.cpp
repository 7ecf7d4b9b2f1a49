// URL-encoded forms and the field readers every endpoint uses on them.
#include "api/formfield.h"
#include "http/formdata.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view body(reinterpret_cast<const char *>(data), size);
    const auto form = FormData::parseUrlEncoded(body);
    std::size_t decoded = 0;
    for (const auto &[name, value] : form)
        decoded += name.size() + value.size() + 1;
    // Decoding never grows a form: escapes shrink, "+" stays one byte.
    if (decoded > size + 1)
        std::abort();
    for (const auto &[name, value] : form) {
        if (name.find('\0') != std::string::npos)
            continue; // field names are C strings in the endpoints
        const auto text = FormField::text(form, name.c_str());
        if (!text)
            std::abort(); // a present field always reads back
        FormField::integer(form, name.c_str());
        for (const auto &sign : FormField::signs(form, name.c_str()))
            if (sign.empty() || sign.find('|') != std::string::npos)
                std::abort();
    }
    return 0;
}
