#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

struct xkb_keymap;

// The compositor's keymap, as its seat hands it to every client, compiled by xkbcommon: which key
// gives a symbol. A compositor that reads synthesised key codes through this keymap types the
// user's symbols only if we pick the codes from it.
class KeymapCodes {
public:
    KeymapCodes(KeymapCodes &&) noexcept;
    KeymapCodes &operator=(KeymapCodes &&) noexcept;
    ~KeymapCodes();

    // Absent when xkbcommon cannot compile the text.
    static std::optional<KeymapCodes> compile(std::string_view text);

    // Number of layouts (groups) in the keymap.
    uint32_t layouts() const;
    // The evdev code of the key that gives sym at the lowest shift level in layout; when that
    // layout has none, the code from the first layout that has it (programs match shortcuts through
    // the other layouts of the same key, as for a user's Ctrl+V on a Russian layout). 0 when none.
    uint32_t code(uint32_t sym, uint32_t layout) const;

private:
    KeymapCodes() = default;
    uint32_t codeIn(uint32_t sym, uint32_t layout) const;

    struct Free {
        void operator()(xkb_keymap *keymap) const;
    };
    std::unique_ptr<xkb_keymap, Free> keymap_;
};
