#pragma once

#include <chrono>
#include <string>

// The one place the service prints. Each line goes out whole and is flushed at once, so lines of
// several threads never mix and a reader of a pipe sees them as they happen.
class ServiceLog {
public:
    enum class Stream { Output, Error };

    // The text as it is, with a line end added when it has none.
    static void write(const std::string &text, Stream stream = Stream::Output);
    // "quillora-cloud: <text>": what the service reports about itself.
    static void line(const std::string &text, Stream stream = Stream::Output);
    // One line per request on standard error: method, path, status, milliseconds. Bodies, headers
    // and query strings never reach it, so neither passwords nor cookies nor pictures do.
    static void request(const std::string &method, const std::string &path, int status,
                        std::chrono::steady_clock::time_point started);
};
