#include "http/gzip.h"

#include <zlib.h>

std::optional<std::string> Gzip::compress(const std::string &data) {
    z_stream z{};
    // 15 window bits + 16 selects the gzip wrapper.
    if (deflateInit2(&z, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return std::nullopt;
    std::string out(deflateBound(&z, uLong(data.size())) + 32, '\0');
    z.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.data()));
    z.avail_in = uInt(data.size());
    z.next_out = reinterpret_cast<Bytef *>(out.data());
    z.avail_out = uInt(out.size());
    const int rc = deflate(&z, Z_FINISH);
    const auto written = z.total_out;
    deflateEnd(&z);
    if (rc != Z_STREAM_END)
        return std::nullopt;
    out.resize(written);
    return out;
}
