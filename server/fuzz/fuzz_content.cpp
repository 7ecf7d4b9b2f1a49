// Phrase content: the strict JSON reader, the content rules and the UTF-8 check of labels.
#include "api/contentrules.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string input(reinterpret_cast<const char *>(data), size);
    if (const auto length = ContentRules::utf8Length(input); length && *length > size)
        std::abort();
    const auto strict = ContentRules::parseStrict(input);
    const auto derived = ContentRules::validate(input);
    if (derived) {
        if (!strict) // accepted content is strict JSON
            std::abort();
        std::string images;
        for (const auto &name : derived->pictures)
            images += name + "|";
        if (images != derived->images)
            std::abort();
    }
    return 0;
}
