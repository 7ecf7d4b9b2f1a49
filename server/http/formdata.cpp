#include "http/formdata.h"

#include <boost/beast/core/string.hpp>

namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::string decode(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '+') {
            out += ' ';
        } else if (c == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 &&
                   hexValue(text[i + 2]) >= 0) {
            out += char(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
            i += 2;
        } else {
            out += c;
        }
    }
    return out;
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

// The value of `key` among "; key=value" parameters, unquoted (backslash escapes undone).
std::optional<std::string> parameter(std::string_view header, std::string_view key) {
    std::size_t i = header.find(';');
    while (i != std::string_view::npos && i < header.size()) {
        ++i; // past ';'
        const auto eq = header.find('=', i);
        if (eq == std::string_view::npos)
            return std::nullopt;
        const auto name = trim(header.substr(i, eq - i));
        i = eq + 1;
        while (i < header.size() && (header[i] == ' ' || header[i] == '\t'))
            ++i;
        std::string value;
        if (i < header.size() && header[i] == '"') {
            for (++i; i < header.size() && header[i] != '"'; ++i) {
                if (header[i] == '\\' && i + 1 < header.size())
                    ++i;
                value += header[i];
            }
            i = header.find(';', i);
        } else {
            const auto end = header.find(';', i);
            value = std::string(trim(header.substr(i, end == std::string_view::npos ? end : end - i)));
            i = end;
        }
        if (boost::beast::iequals(name, key))
            return value;
    }
    return std::nullopt;
}

} // namespace

FormData::Fields FormData::parseUrlEncoded(std::string_view body) {
    Fields out;
    std::size_t start = 0;
    while (start <= body.size()) {
        auto end = body.find('&', start);
        if (end == std::string_view::npos)
            end = body.size();
        const auto pair = body.substr(start, end - start);
        if (!pair.empty()) {
            const auto eq = pair.find('=');
            if (eq == std::string_view::npos)
                out.emplace(decode(pair), std::string());
            else
                out.emplace(decode(pair.substr(0, eq)), decode(pair.substr(eq + 1)));
        }
        start = end + 1;
    }
    return out;
}

std::string FormData::boundary(std::string_view contentType) {
    return parameter(contentType, "boundary").value_or(std::string());
}

std::optional<FormData::Fields> FormData::parseMultipart(std::string_view contentType,
                                                         std::string_view body) {
    const auto semicolon = contentType.find(';');
    if (!boost::beast::iequals(trim(contentType.substr(0, semicolon)), "multipart/form-data"))
        return std::nullopt;
    const std::string mark = boundary(contentType);
    if (mark.empty() || mark.size() > 200)
        return std::nullopt;
    const std::string delimiter = "--" + mark;
    const std::string separator = "\r\n" + delimiter;
    // Anything before the first delimiter is a preamble and ignored.
    std::size_t pos = body.find(delimiter);
    if (pos == std::string_view::npos)
        return std::nullopt;
    pos += delimiter.size();
    Fields out;
    for (;;) {
        if (body.substr(pos, 2) == "--")
            return out; // the closing delimiter
        if (body.substr(pos, 2) != "\r\n")
            return std::nullopt;
        pos += 2;
        const auto headEnd = body.find("\r\n\r\n", pos);
        if (headEnd == std::string_view::npos)
            return std::nullopt;
        std::optional<std::string> name;
        for (std::size_t line = pos; line < headEnd;) {
            auto lineEnd = body.find("\r\n", line);
            if (lineEnd == std::string_view::npos || lineEnd > headEnd)
                lineEnd = headEnd;
            const auto text = body.substr(line, lineEnd - line);
            const auto colon = text.find(':');
            if (colon != std::string_view::npos &&
                boost::beast::iequals(trim(text.substr(0, colon)), "Content-Disposition"))
                name = parameter(text.substr(colon + 1), "name");
            line = lineEnd + 2;
        }
        const auto contentStart = headEnd + 4;
        const auto contentEnd = body.find(separator, contentStart);
        if (contentEnd == std::string_view::npos || !name)
            return std::nullopt;
        out.emplace(*name, std::string(body.substr(contentStart, contentEnd - contentStart)));
        pos = contentEnd + separator.size();
    }
}
