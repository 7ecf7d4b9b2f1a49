#include "api/picturename.h"

#include "api/contentrules.h"
#include "security/secrets.h"

#include <algorithm>
#include <cctype>

bool PictureName::isPlain(const std::string &name) {
    const auto length = ContentRules::utf8Length(name);
    if (!length || *length == 0 || *length > 64 || name == "." || name == "..")
        return false;
    return std::none_of(name.begin(), name.end(), [](char c) {
        const auto u = static_cast<unsigned char>(c);
        return u < 0x20 || u == 0x7F || c == '/' || c == '\\';
    });
}

bool PictureName::isContentAddressed(const std::string &name) {
    if (name.size() < 34 || name[32] != '.')
        return false;
    const auto isHex = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
    const auto isExt = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
    return std::all_of(name.begin(), name.begin() + 32, isHex) &&
           std::all_of(name.begin() + 33, name.end(), isExt);
}

bool PictureName::isAccepted(const std::string &name) {
    if (!isContentAddressed(name))
        return false;
    std::string extension = name.substr(33);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return extension == "png" || extension == "jpg" || extension == "jpeg" || extension == "gif" ||
           extension == "bmp";
}

bool PictureName::matchesContent(const std::string &name, const std::string &bytes) {
    if (!isContentAddressed(name))
        return true;
    std::string digest = name.substr(0, 32);
    std::transform(digest.begin(), digest.end(), digest.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return digest == Secrets::md5Hex(bytes);
}
