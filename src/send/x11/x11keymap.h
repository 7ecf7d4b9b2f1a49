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
    // Puts a spare key still mapped back as it was.
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

    // Maps sym on a key code that no key uses, for a symbol that no group has; 0 when none is free.
    // The key stays mapped until restoreSpare().
    uint8_t mapSpare(uint32_t sym);
    // Puts the spare key back as it was.
    void restoreSpare();

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
