#include "desktop/wayland/wlrwindowlist.h"

#include <wayland-client.h>
#include <wlr-foreign-toplevel-management-unstable-v1-client-protocol.h>

struct WlrWindowList::Toplevel {
    WlrWindowList *owner = nullptr;
    zwlr_foreign_toplevel_handle_v1 *handle = nullptr;
    Window window;
    bool pendingActivated = false;
    // Reported in full at least once.
    bool ready = false;
};

struct WlrWindowList::Events {
    static void title(void *data, zwlr_foreign_toplevel_handle_v1 *, const char *title) {
        auto *t = static_cast<Toplevel *>(data);
        t->window.title = QString::fromUtf8(title);
        t->owner->changed(t->window.id);
    }
    static void appId(void *data, zwlr_foreign_toplevel_handle_v1 *, const char *appId) {
        auto *t = static_cast<Toplevel *>(data);
        t->window.appId = QString::fromUtf8(appId);
        t->owner->changed(t->window.id);
    }
    static void outputEnter(void *, zwlr_foreign_toplevel_handle_v1 *, wl_output *) {}
    static void outputLeave(void *, zwlr_foreign_toplevel_handle_v1 *, wl_output *) {}
    static void state(void *data, zwlr_foreign_toplevel_handle_v1 *, wl_array *state) {
        auto *t = static_cast<Toplevel *>(data);
        t->pendingActivated = false;
        const auto *states = static_cast<const uint32_t *>(state->data);
        for (size_t i = 0; i < state->size / sizeof(uint32_t); ++i)
            if (states[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED)
                t->pendingActivated = true;
    }
    static void done(void *data, zwlr_foreign_toplevel_handle_v1 *) {
        auto *t = static_cast<Toplevel *>(data);
        const bool changed = !t->ready || t->window.activated != t->pendingActivated;
        t->window.activated = t->pendingActivated;
        t->ready = true;
        if (changed && t->window.activated)
            t->owner->frontChanged();
    }
    static void closed(void *data, zwlr_foreign_toplevel_handle_v1 *handle) {
        auto *t = static_cast<Toplevel *>(data);
        WlrWindowList *owner = t->owner;
        const bool wasFront = t->window.activated;
        zwlr_foreign_toplevel_handle_v1_destroy(handle);
        std::erase_if(owner->toplevels_, [t](const auto &p) { return p.get() == t; });
        if (wasFront)
            owner->frontChanged();
    }
    static void parent(void *, zwlr_foreign_toplevel_handle_v1 *, zwlr_foreign_toplevel_handle_v1 *) {}

    static constexpr zwlr_foreign_toplevel_handle_v1_listener toplevelListener{
        title, appId, outputEnter, outputLeave, state, done, closed, parent};

    static void toplevel(void *data, zwlr_foreign_toplevel_manager_v1 *,
                         zwlr_foreign_toplevel_handle_v1 *handle) {
        auto *self = static_cast<WlrWindowList *>(data);
        auto t = std::make_unique<Toplevel>();
        t->owner = self;
        t->window.id = self->nextId();
        t->handle = handle;
        zwlr_foreign_toplevel_handle_v1_add_listener(handle, &toplevelListener, t.get());
        self->toplevels_.push_back(std::move(t));
    }
    static void finished(void *data, zwlr_foreign_toplevel_manager_v1 *) {
        auto *self = static_cast<WlrWindowList *>(data);
        zwlr_foreign_toplevel_manager_v1_destroy(self->manager_);
        self->manager_ = nullptr;
    }
    static constexpr zwlr_foreign_toplevel_manager_v1_listener managerListener{toplevel, finished};
};

WlrWindowList::WlrWindowList() = default;

WlrWindowList::~WlrWindowList() = default;

const char *WlrWindowList::interfaceName() const {
    return zwlr_foreign_toplevel_manager_v1_interface.name;
}

void WlrWindowList::bind(wl_registry *registry, uint32_t name, uint32_t version) {
    manager_ = static_cast<zwlr_foreign_toplevel_manager_v1 *>(
        wl_registry_bind(registry, name, &zwlr_foreign_toplevel_manager_v1_interface, std::min(version, 3u)));
}

void WlrWindowList::start() {
    if (manager_)
        zwlr_foreign_toplevel_manager_v1_add_listener(manager_, &Events::managerListener, this);
}

QList<WaylandWindowList::Window> WlrWindowList::windows() const {
    QList<Window> result;
    for (const auto &t : toplevels_)
        if (t->ready)
            result.append(t->window);
    return result;
}

bool WlrWindowList::activate(quint64 id, wl_seat *seat) {
    if (!seat)
        return false;
    for (const auto &t : toplevels_) {
        if (t->ready && t->window.id == id) {
            zwlr_foreign_toplevel_handle_v1_activate(t->handle, seat);
            return true;
        }
    }
    return false;
}

void WlrWindowList::stop() {
    for (auto &t : toplevels_)
        zwlr_foreign_toplevel_handle_v1_destroy(t->handle);
    toplevels_.clear();
    if (manager_)
        zwlr_foreign_toplevel_manager_v1_stop(manager_);
    manager_ = nullptr;
}
