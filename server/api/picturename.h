#pragma once

#include <string>

// Which picture names the service accepts and whether content matches its name.
class PictureName {
public:
    // A plain file name: 1 to 64 characters, no directory part, no control characters, not "." or "..".
    static bool isPlain(const std::string &name);
    // Names of 32 hex digits and an extension are content addresses: they must be the MD5 of the bytes.
    static bool isContentAddressed(const std::string &name);
    // What the service stores: the MD5 of the bytes in hex and an extension of a picture type the
    // client shows (png, jpg, jpeg, gif, bmp).
    static bool isAccepted(const std::string &name);
    static bool matchesContent(const std::string &name, const std::string &bytes);
};
