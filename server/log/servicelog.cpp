#include "log/servicelog.h"

#include <cstdio>

void ServiceLog::write(const std::string &text, Stream stream) {
    FILE *out = stream == Stream::Output ? stdout : stderr;
    std::string whole = text;
    if (whole.empty() || whole.back() != '\n')
        whole += '\n';
    std::fwrite(whole.data(), 1, whole.size(), out);
    std::fflush(out);
}

void ServiceLog::line(const std::string &text, Stream stream) {
    write("quillora-cloud: " + text, stream);
}

void ServiceLog::request(const std::string &method, const std::string &path, int status,
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
    char figures[48];
    std::snprintf(figures, sizeof figures, " %d %.1fms", status, ms);
    write(safeMethod + " " + safePath + figures, Stream::Error);
}
