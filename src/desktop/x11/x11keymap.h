#pragma once

#include <cstdint>
#include <memory>

struct _XDisplay;

// The keyboard as the X server maps it at the moment of a stroke: which key types a symbol in the
// active group, which keys hold a modifier. The layout can change at any time (setxkbmap, a group
// toggle, a new keyboard); the server's change notices, selected on the given connection, say when
// the keymap has to be read again. Not thread-safe: its owner guards it with the connection.
class X11Keymap {
public:
    // Selects the change notices on display, which the keymap uses but does not own.
    explicit X11Keymap(_XDisplay *display);
    // Puts a key still lent back as it was.
    ~X11Keymap();
    X11Keymap(const X11Keymap &) = delete;
    X11Keymap &operator=(const X11Keymap &) = delete;

    // False when the display has no keyboard extension: then no key is found.
    bool valid() const;

    // Catches up with the server: one round trip reads the active group, and the change notices
    // sent before it; the keymap is read again when one of them came.
    void update();

    // The key that types sym in the active group, at its lowest level. Without one, the key that
    // types it in the first group that has it: programs match a Latin shortcut typed in a non-Latin
    // group there, and their users type it so. 0 when no group has sym.
    uint8_t code(uint32_t sym) const;
    // A key that holds the modifier of that index (0 Shift, 2 Control, as in the modifier map),
    // the one that types preferred when several do; 0 when no key holds it.
    uint8_t modifierKey(int index, uint32_t preferred) const;
    // Whether a key that holds any modifier is down.
    bool modifierHeld() const;

    // For a symbol that no group has: lends it to the key that types it on a US keyboard, in a group
    // of its own after the key's groups, which is where its users press it (the key that types a
    // Cyrillic letter in the active group: toolkits take the Latin symbol from another group of the
    // same key, or the key's place). A code no key uses when that key is missing or a modifier.
    // Returns the key, 0 when none could be lent; it keeps the symbol until restoreMissing().
    uint8_t mapMissing(uint32_t sym);
    // Puts the lent key back as it was.
    void restoreMissing();

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
