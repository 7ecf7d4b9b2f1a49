#pragma once

// Owners for the X resources the back-end holds. Include after Qt headers: Xlib defines macros
// (None, Bool, Status) that clash with Qt's.
#include <X11/Xlib.h>
#include <memory>

extern "C" {
#include <xdo.h>
}

struct DisplayCloser {
    void operator()(Display *display) const { XCloseDisplay(display); }
};
using DisplayPtr = std::unique_ptr<Display, DisplayCloser>;

// Memory that Xlib hands out and wants back through XFree.
struct XFreer {
    void operator()(void *data) const { XFree(data); }
};
template <typename T> using XPtr = std::unique_ptr<T, XFreer>;

struct ModifierKeymapFreer {
    void operator()(XModifierKeymap *map) const { XFreeModifiermap(map); }
};
using ModifierKeymapPtr = std::unique_ptr<XModifierKeymap, ModifierKeymapFreer>;

// The display stays owned by DisplayPtr; xdo is made with close_display_when_freed = 0.
struct XdoFreer {
    void operator()(xdo_t *xdo) const { xdo_free(xdo); }
};
using XdoPtr = std::unique_ptr<xdo_t, XdoFreer>;
