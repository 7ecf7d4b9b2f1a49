#pragma once

#include "desktop/wayland/waylandwindowlist.h"

#include <memory>
#include <vector>

struct org_kde_plasma_window_management;

// The windows of KDE Plasma (KWin): org_kde_plasma_window_management, which names each window's
// process and themed icon. KWin offers it only to programs whose desktop entry asks for it.
class PlasmaWindowList : public WaylandWindowList {
public:
    PlasmaWindowList();
    ~PlasmaWindowList() override;

    const char *interfaceName() const override;
    void bind(wl_registry *registry, uint32_t name, uint32_t version) override;
    bool bound() const override { return manager_; }
    void start() override;
    QList<Window> windows() const override;
    bool activate(quint64 id, wl_seat *seat) override;
    void stop() override;

private:
    struct Entry;
    struct Events;

    void track(struct org_kde_plasma_window *handle);

    org_kde_plasma_window_management *manager_ = nullptr;
    std::vector<std::unique_ptr<Entry>> entries_;
};
