#pragma once

#include <cstdint>
#include <optional>

// The keymap our virtual keyboard announces, compiled by xkbcommon from the default US layout,
// and the evdev codes and modifier masks of the keys we type. Holds the keymap in a sealed memory
// file that the compositor maps.
class VirtualKeymap {
public:
    VirtualKeymap(VirtualKeymap &&other) noexcept;
    VirtualKeymap &operator=(VirtualKeymap &&other) noexcept;
    VirtualKeymap(const VirtualKeymap &) = delete;
    VirtualKeymap &operator=(const VirtualKeymap &) = delete;
    ~VirtualKeymap();

    // Absent when xkbcommon cannot compile the layout or a key is missing from it.
    static std::optional<VirtualKeymap> compile();

    int fd() const { return fd_; }
    uint32_t size() const { return size_; }

    // evdev codes (xkb codes less 8).
    uint32_t v = 0, keypadEnter = 0, left = 0, insert = 0, control = 0, shift = 0;
    uint32_t controlMask = 0, shiftMask = 0;

private:
    VirtualKeymap() = default;

    int fd_ = -1;
    uint32_t size_ = 0;
};
