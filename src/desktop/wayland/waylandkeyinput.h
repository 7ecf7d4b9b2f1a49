#pragma once

#include "desktop/desktopbackend.h"

#include <QString>
#include <cstdint>

struct wl_registry;
struct wl_seat;

// How a Wayland back-end types into the focused window: one implementation per protocol that
// lets a program synthesise keys. Used only on the back-end's connection thread.
class WaylandKeyInput {
public:
    WaylandKeyInput() = default;
    virtual ~WaylandKeyInput() = default;
    WaylandKeyInput(const WaylandKeyInput &) = delete;
    WaylandKeyInput &operator=(const WaylandKeyInput &) = delete;

    // The global this input is built on.
    virtual const char *interfaceName() const = 0;
    virtual void bind(wl_registry *registry, uint32_t name, uint32_t version) = 0;
    virtual bool bound() const = 0;
    // Makes the keyboard ready on seat; empty when it is, else why not, in plain words.
    virtual QString start(wl_seat *seat) = 0;
    // Queues the key events of one stroke: modifiers down, key down and up, modifiers up.
    virtual void type(DesktopBackend::Stroke stroke) = 0;
    virtual void stop() = 0;
};
