#pragma once

#include "desktop/wayland/waylandwindowlist.h"

#include <memory>
#include <vector>

struct zwlr_foreign_toplevel_manager_v1;

// The windows of wlroots compositors (sway and its family): zwlr_foreign_toplevel_manager_v1. It
// names no process; activation needs the seat.
class WlrWindowList : public WaylandWindowList {
public:
    WlrWindowList();
    ~WlrWindowList() override;

    const char *interfaceName() const override;
    void bind(wl_registry *registry, uint32_t name, uint32_t version) override;
    bool bound() const override { return manager_; }
    void start() override;
    QList<Window> windows() const override;
    bool activate(quint64 id, wl_seat *seat) override;
    void stop() override;

private:
    struct Toplevel;
    struct Events;

    zwlr_foreign_toplevel_manager_v1 *manager_ = nullptr;
    std::vector<std::unique_ptr<Toplevel>> toplevels_;
};
