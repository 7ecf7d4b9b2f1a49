#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// A gzip stream made of pieces deflated one by one (each ends on a byte boundary with an empty
// dictionary), so a large reply that changed in one place is recompressed only there: pieces whose
// text is unchanged are taken over from the previous stream.
class ChunkedGzip {
public:
    struct Piece {
        std::string digest; // of the text
        std::string deflated;
        unsigned long crc = 0;
        std::size_t length = 0;
    };

    // The pieces of `texts`, reusing those of `previous` with the same text; empty on failure.
    static std::vector<Piece> pieces(const std::vector<std::string_view> &texts,
                                     const std::vector<Piece> &previous);
    // The gzip stream of the pieces in order.
    static std::string assemble(const std::vector<Piece> &pieces);
};
