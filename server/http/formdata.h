#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

// Request bodies as name/value pairs: URL-encoded forms and multipart/form-data uploads.
class FormData {
public:
    using Fields = std::multimap<std::string, std::string>;

    // "a=1&b=x+y%21": "+" is a blank; a malformed escape is kept as it is.
    static Fields parseUrlEncoded(std::string_view body);
    // The parts' contents by their "name"; nothing when the body does not follow the boundary
    // named in the Content-Type.
    static std::optional<Fields> parseMultipart(std::string_view contentType, std::string_view body);
    // The boundary parameter of a multipart Content-Type, unquoted; empty when absent.
    static std::string boundary(std::string_view contentType);
};
