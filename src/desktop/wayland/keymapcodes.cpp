#include "desktop/wayland/keymapcodes.h"

#include <string>
#include <xkbcommon/xkbcommon.h>

void KeymapCodes::Free::operator()(xkb_keymap *keymap) const {
    xkb_keymap_unref(keymap);
}

KeymapCodes::KeymapCodes(KeymapCodes &&) noexcept = default;
KeymapCodes &KeymapCodes::operator=(KeymapCodes &&) noexcept = default;
KeymapCodes::~KeymapCodes() = default;

std::optional<KeymapCodes> KeymapCodes::compile(std::string_view text) {
    xkb_context *context = xkb_context_new(
        xkb_context_flags(XKB_CONTEXT_NO_DEFAULT_INCLUDES | XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
    if (!context)
        return std::nullopt;
    const std::string copy(text);
    xkb_keymap *keymap = xkb_keymap_new_from_buffer(context, copy.data(), copy.size(),
                                                    XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS);
    xkb_context_unref(context);
    if (!keymap)
        return std::nullopt;
    KeymapCodes made;
    made.keymap_.reset(keymap);
    return made;
}

uint32_t KeymapCodes::layouts() const {
    return xkb_keymap_num_layouts(keymap_.get());
}

uint32_t KeymapCodes::codeIn(uint32_t sym, uint32_t layout) const {
    xkb_keymap *keymap = keymap_.get();
    uint32_t best = 0;
    xkb_level_index_t bestLevel = XKB_LEVEL_INVALID;
    // Keys with fewer layouts than the keymap wrap into theirs, as the compositor reads them.
    for (xkb_keycode_t key = xkb_keymap_min_keycode(keymap); key <= xkb_keymap_max_keycode(keymap); ++key) {
        if (key < 8 || xkb_keymap_num_layouts_for_key(keymap, key) == 0)
            continue;
        const xkb_level_index_t levels = xkb_keymap_num_levels_for_key(keymap, key, layout);
        for (xkb_level_index_t level = 0; level < levels && level < bestLevel; ++level) {
            const xkb_keysym_t *syms = nullptr;
            const int n = xkb_keymap_key_get_syms_by_level(keymap, key, layout, level, &syms);
            for (int i = 0; i < n; ++i) {
                if (syms[i] == sym) {
                    best = key - 8;
                    bestLevel = level;
                }
            }
        }
    }
    return best;
}

uint32_t KeymapCodes::code(uint32_t sym, uint32_t layout) const {
    if (const uint32_t found = codeIn(sym, layout))
        return found;
    for (uint32_t other = 0; other < layouts(); ++other)
        if (other != layout)
            if (const uint32_t found = codeIn(sym, other))
                return found;
    return 0;
}
