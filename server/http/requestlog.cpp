#include "http/requestlog.h"

#include <cstdio>

void RequestLog::write(const std::string &method, const std::string &path, int status,
                       std::chrono::steady_clock::time_point started) {
    const double ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
    // Control characters from a hostile path would forge log lines.
    std::string safeMethod = method.substr(0, 20);
    std::string safePath = path.substr(0, 300);
    for (auto *text : {&safeMethod, &safePath})
        for (auto &c : *text)
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F || c == ' ')
                c = '?';
    std::fprintf(stderr, "%s %s %d %.1fms\n", safeMethod.c_str(), safePath.c_str(), status, ms);
}
