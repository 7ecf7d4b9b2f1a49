#include "requestlog.h"

#include <chrono>
#include <cstdio>

namespace {

// A request is handled start to finish on one thread.
thread_local std::chrono::steady_clock::time_point started{};

} // namespace

void RequestLog::markStart() {
    started = std::chrono::steady_clock::now();
}

void RequestLog::write(const std::string &method, const std::string &path, int status) {
    double ms = 0;
    if (started != std::chrono::steady_clock::time_point{})
        ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
    started = {};
    // Control characters from a hostile path would forge log lines.
    std::string safePath = path.substr(0, 300);
    for (auto &c : safePath)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    std::fprintf(stderr, "%s %s %d %.1fms\n", method.c_str(), safePath.c_str(), status, ms);
}
