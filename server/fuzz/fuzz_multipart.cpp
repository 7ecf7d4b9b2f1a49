// Multipart uploads: the first line is the Content-Type, the rest the body.
#include "http/formdata.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char *>(data), size);
    const auto newline = input.find('\n');
    const auto contentType = input.substr(0, newline);
    const auto body = newline == std::string_view::npos ? std::string_view() : input.substr(newline + 1);
    FormData::boundary(contentType);
    if (const auto parts = FormData::parseMultipart(contentType, body)) {
        std::size_t bytes = 0;
        for (const auto &[name, value] : *parts)
            bytes += value.size();
        if (bytes > body.size()) // parts are pieces of the body
            std::abort();
    }
    return 0;
}
