// Picture names as uploads and the picture path carry them: the first line is the name (or, when
// it is Base64, the path's encoding of one), the rest the picture's bytes.
#include "api/picturename.h"
#include "security/secrets.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    return Secrets::init() ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string input(reinterpret_cast<const char *>(data), size);
    const auto newline = input.find('\n');
    const auto name = input.substr(0, newline);
    const auto bytes = newline == std::string::npos ? std::string() : input.substr(newline + 1);
    for (const auto &candidate : {std::optional<std::string>(name), Secrets::fromBase64(name)}) {
        if (!candidate)
            continue;
        const bool plain = PictureName::isPlain(*candidate);
        if (PictureName::isAccepted(*candidate) && (!plain || !PictureName::isContentAddressed(*candidate)))
            std::abort(); // accepted names are plain content addresses
        if (candidate->find('/') != std::string::npos && plain)
            std::abort();
        PictureName::matchesContent(*candidate, bytes);
    }
    return 0;
}
