// Cookie headers as clients send them, one per line.
#include "http/cookiereader.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string input(reinterpret_cast<const char *>(data), size);
    std::vector<std::string> headers;
    for (std::size_t start = 0; start <= input.size();) {
        const auto end = std::min(input.find('\n', start), input.size());
        headers.push_back(input.substr(start, end - start));
        start = end + 1;
    }
    for (const auto &token : CookieReader::sessionTokens(headers))
        if (token.empty() || token.find(';') != std::string::npos || token.size() > size)
            std::abort();
    return 0;
}
