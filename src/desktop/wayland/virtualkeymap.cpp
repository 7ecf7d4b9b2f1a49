#include "desktop/wayland/virtualkeymap.h"

#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <xkbcommon/xkbcommon.h>

namespace {

struct ContextFree {
    void operator()(xkb_context *c) const { xkb_context_unref(c); }
};
struct KeymapFree {
    void operator()(xkb_keymap *k) const { xkb_keymap_unref(k); }
};

// The first key whose unshifted symbol is sym; 0 when the layout has none.
uint32_t evdevCode(xkb_keymap *keymap, xkb_keysym_t sym) {
    for (xkb_keycode_t code = xkb_keymap_min_keycode(keymap); code <= xkb_keymap_max_keycode(keymap);
         ++code) {
        const xkb_keysym_t *syms = nullptr;
        const int n = xkb_keymap_key_get_syms_by_level(keymap, code, 0, 0, &syms);
        for (int i = 0; i < n; ++i)
            if (syms[i] == sym && code >= 8)
                return code - 8;
    }
    return 0;
}

uint32_t modifierMask(xkb_keymap *keymap, const char *name) {
    const xkb_mod_index_t index = xkb_keymap_mod_get_index(keymap, name);
    return index == XKB_MOD_INVALID ? 0 : uint32_t(1) << index;
}

} // namespace

VirtualKeymap::VirtualKeymap(VirtualKeymap &&other) noexcept {
    *this = std::move(other);
}

VirtualKeymap &VirtualKeymap::operator=(VirtualKeymap &&other) noexcept {
    if (this != &other) {
        if (fd_ >= 0)
            close(fd_);
        v = other.v;
        keypadEnter = other.keypadEnter;
        left = other.left;
        insert = other.insert;
        control = other.control;
        shift = other.shift;
        controlMask = other.controlMask;
        shiftMask = other.shiftMask;
        fd_ = std::exchange(other.fd_, -1);
        size_ = other.size_;
    }
    return *this;
}

VirtualKeymap::~VirtualKeymap() {
    if (fd_ >= 0)
        close(fd_);
}

std::optional<VirtualKeymap> VirtualKeymap::compile() {
    std::unique_ptr<xkb_context, ContextFree> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    if (!context)
        return std::nullopt;
    // A fixed layout, not the user's: only these few keys are typed, and the compositor hands our
    // keymap to the target along with our keys.
    const xkb_rule_names names{"evdev", "pc105", "us", "", ""};
    std::unique_ptr<xkb_keymap, KeymapFree> keymap(
        xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (!keymap)
        return std::nullopt;

    VirtualKeymap result;
    result.v = evdevCode(keymap.get(), XKB_KEY_v);
    result.keypadEnter = evdevCode(keymap.get(), XKB_KEY_KP_Enter);
    result.left = evdevCode(keymap.get(), XKB_KEY_Left);
    result.insert = evdevCode(keymap.get(), XKB_KEY_Insert);
    result.control = evdevCode(keymap.get(), XKB_KEY_Control_L);
    result.shift = evdevCode(keymap.get(), XKB_KEY_Shift_L);
    result.controlMask = modifierMask(keymap.get(), XKB_MOD_NAME_CTRL);
    result.shiftMask = modifierMask(keymap.get(), XKB_MOD_NAME_SHIFT);
    for (uint32_t code : {result.v, result.keypadEnter, result.left, result.insert, result.control,
                          result.shift, result.controlMask, result.shiftMask})
        if (code == 0)
            return std::nullopt;

    std::unique_ptr<char, decltype(&free)> text(
        xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1), &free);
    if (!text)
        return std::nullopt;
    // The compositor maps the file read-only; the terminating zero is part of the keymap.
    const size_t size = strlen(text.get()) + 1;
    result.fd_ = memfd_create("quillora-keymap", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (result.fd_ < 0)
        return std::nullopt;
    size_t written = 0;
    while (written < size) {
        const ssize_t n = write(result.fd_, text.get() + written, size - written);
        if (n <= 0)
            return std::nullopt;
        written += size_t(n);
    }
    fcntl(result.fd_, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    result.size_ = uint32_t(size);
    return result;
}
