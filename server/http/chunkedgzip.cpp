#include "http/chunkedgzip.h"

#include "security/secrets.h"

#include <zlib.h>

#include <optional>
#include <unordered_map>

namespace {

std::optional<std::string> deflateRaw(std::string_view text) {
    z_stream z{};
    // Negative window bits: raw deflate, no header or trailer of its own.
    if (deflateInit2(&z, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return std::nullopt;
    std::string out(deflateBound(&z, uLong(text.size())) + 16, '\0');
    z.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(text.data()));
    z.avail_in = uInt(text.size());
    z.next_out = reinterpret_cast<Bytef *>(out.data());
    z.avail_out = uInt(out.size());
    // A sync flush ends on a byte boundary without a final block, so pieces can follow each other.
    const int rc = deflate(&z, Z_SYNC_FLUSH);
    const bool done = rc == Z_OK && z.avail_in == 0;
    out.resize(z.total_out);
    deflateEnd(&z);
    if (!done)
        return std::nullopt;
    return out;
}

void putLittleEndian(std::string &out, unsigned long value) {
    for (int i = 0; i < 4; ++i)
        out.push_back(char((value >> (8 * i)) & 0xFF));
}

} // namespace

std::vector<ChunkedGzip::Piece> ChunkedGzip::pieces(const std::vector<std::string_view> &texts,
                                                    const std::vector<Piece> &previous) {
    std::unordered_map<std::string_view, const Piece *> known;
    for (const auto &p : previous)
        known.emplace(p.digest, &p);
    std::vector<Piece> out;
    out.reserve(texts.size());
    for (const auto text : texts) {
        auto digest = Secrets::digestHex(std::string(text));
        if (const auto it = known.find(digest); it != known.end()) {
            out.push_back(*it->second);
            continue;
        }
        auto deflated = deflateRaw(text);
        if (!deflated)
            return {};
        const auto crc = crc32(0L, reinterpret_cast<const Bytef *>(text.data()), uInt(text.size()));
        out.push_back({std::move(digest), std::move(*deflated), crc, text.size()});
    }
    return out;
}

std::string ChunkedGzip::assemble(const std::vector<Piece> &pieces) {
    // Magic, deflate, no flags, no time, no extra flags, Unix.
    std::string out("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03", 10);
    unsigned long crc = crc32(0L, Z_NULL, 0);
    unsigned long length = 0;
    for (const auto &p : pieces) {
        out += p.deflated;
        crc = crc32_combine(crc, p.crc, z_off_t(p.length));
        length += p.length;
    }
    out.append("\x03\x00", 2); // an empty final block with fixed codes
    putLittleEndian(out, crc);
    putLittleEndian(out, length & 0xFFFFFFFFul);
    return out;
}
