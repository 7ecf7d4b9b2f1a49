#include "store/likematch.h"

#include <sqlite3.h>

#include <array>
#include <cstring>
#include <optional>
#include <string>

namespace {

inline unsigned char fold(unsigned char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

// Length of the character starting at i, read the way SQLite reads UTF-8: a lead byte of 0xC0 or more
// takes every following continuation byte, any other byte stands alone.
inline size_t charLength(std::string_view s, size_t i) {
    size_t n = 1;
    if (static_cast<unsigned char>(s[i]) >= 0xC0)
        while (i + n < s.size() && (static_cast<unsigned char>(s[i + n]) & 0xC0) == 0x80)
            ++n;
    return n;
}

inline bool sameChar(std::string_view a, size_t ai, size_t an, std::string_view b, size_t bi, size_t bn) {
    if (an != bn)
        return false;
    if (an == 1)
        return fold(static_cast<unsigned char>(a[ai])) == fold(static_cast<unsigned char>(b[bi]));
    return std::memcmp(a.data() + ai, b.data() + bi, an) == 0;
}

bool hasWildcard(std::string_view s) {
    return s.find_first_of("%_") != std::string_view::npos;
}

// General case: one pass with backtracking to the last "%", which is enough for "%" and "_" alone.
bool matchGeneral(std::string_view p, std::string_view s) {
    size_t pi = 0, si = 0;
    size_t starP = std::string_view::npos, starS = 0;
    while (si < s.size()) {
        if (pi < p.size() && p[pi] == '%') {
            starP = ++pi;
            starS = si;
            continue;
        }
        const size_t sn = charLength(s, si);
        if (pi < p.size()) {
            if (p[pi] == '_') {
                ++pi;
                si += sn;
                continue;
            }
            const size_t pn = charLength(p, pi);
            if (sameChar(p, pi, pn, s, si, sn)) {
                pi += pn;
                si += sn;
                continue;
            }
        }
        if (starP == std::string_view::npos)
            return false;
        pi = starP;
        starS += charLength(s, starS);
        si = starS;
    }
    while (pi < p.size() && p[pi] == '%')
        ++pi;
    return pi == p.size();
}

// A pattern of the form "%word%" compiled once per statement: a Horspool search for the word, on
// bytes with ASCII letters folded (no byte of a multi-byte UTF-8 character is an ASCII letter, and a
// match of whole characters always starts at a lead byte).
class CompiledLike {
public:
    explicit CompiledLike(std::string_view pattern) : pattern_(pattern) {
        if (pattern_.size() < 2 || pattern_.front() != '%' || pattern_.back() != '%' ||
            hasWildcard(std::string_view(pattern_).substr(1, pattern_.size() - 2)))
            return;
        plain_ = true;
        for (size_t i = 1; i + 1 < pattern_.size(); ++i)
            word_.push_back(char(fold(static_cast<unsigned char>(pattern_[i]))));
        skip_.fill(word_.size());
        for (size_t i = 0; i + 1 < word_.size(); ++i)
            skip_[static_cast<unsigned char>(word_[i])] = word_.size() - 1 - i;
    }

    bool matches(std::string_view text) const {
        if (!plain_)
            return matchGeneral(pattern_, text);
        const size_t m = word_.size();
        if (m == 0)
            return true;
        const auto *t = reinterpret_cast<const unsigned char *>(text.data());
        const auto *w = reinterpret_cast<const unsigned char *>(word_.data());
        for (size_t i = 0; i + m <= text.size();) {
            const unsigned char last = fold(t[i + m - 1]);
            if (last == w[m - 1]) {
                size_t j = m - 1;
                while (j > 0 && fold(t[i + j - 1]) == w[j - 1])
                    --j;
                if (j == 0)
                    return true;
            }
            i += skip_[last];
        }
        return false;
    }

private:
    std::string pattern_;
    bool plain_ = false;
    std::string word_; // folded
    std::array<size_t, 256> skip_{};
};

void likeFunction(sqlite3_context *context, int, sqlite3_value **argv) {
    // LIKE's operands: argv[0] is the pattern, argv[1] the text
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL || sqlite3_value_type(argv[1]) == SQLITE_NULL) {
        sqlite3_result_null(context); // NULL operands give NULL, as built in
        return;
    }
    auto *compiled = static_cast<CompiledLike *>(sqlite3_get_auxdata(context, 0));
    std::optional<CompiledLike> once;
    if (!compiled) {
        const auto *pattern = reinterpret_cast<const char *>(sqlite3_value_text(argv[0]));
        if (!pattern) {
            sqlite3_result_error_nomem(context);
            return;
        }
        const std::string_view patternView(pattern, size_t(sqlite3_value_bytes(argv[0])));
        // SQLite keeps it while the pattern stays the same (a bound parameter: the whole statement)
        sqlite3_set_auxdata(context, 0, new CompiledLike(patternView),
                            [](void *p) { delete static_cast<CompiledLike *>(p); });
        compiled = static_cast<CompiledLike *>(sqlite3_get_auxdata(context, 0));
        if (!compiled) // not kept (SQLite has freed it): compile for this row only
            compiled = &once.emplace(patternView);
    }
    const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(argv[1]));
    if (!text) {
        sqlite3_result_error_nomem(context);
        return;
    }
    sqlite3_result_int(context, compiled->matches({text, size_t(sqlite3_value_bytes(argv[1]))}));
}

} // namespace

bool likeMatch(std::string_view pattern, std::string_view text) {
    return CompiledLike(pattern).matches(text);
}

void installLike(sqlite3 *db) {
    sqlite3_create_function_v2(db, "like", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS, nullptr,
                               likeFunction, nullptr, nullptr, nullptr);
}
