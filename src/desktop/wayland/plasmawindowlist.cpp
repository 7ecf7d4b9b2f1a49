#include "desktop/wayland/plasmawindowlist.h"

#include <plasma-window-management-client-protocol.h>
#include <wayland-client.h>

namespace {

// Announced by uuid from this version on; the numeric ids before it are deprecated.
constexpr uint32_t uuidVersion = 13;
// Windows are destroyed by a request of their own from this version on.
constexpr uint32_t destroyVersion = 4;

} // namespace

struct PlasmaWindowList::Entry {
    PlasmaWindowList *owner = nullptr;
    org_kde_plasma_window *handle = nullptr;
    Window window;
    // Reported in full (initial_state) at least once.
    bool ready = false;
};

struct PlasmaWindowList::Events {
    static Entry *entry(void *data) { return static_cast<Entry *>(data); }

    static void title(void *data, org_kde_plasma_window *, const char *title) {
        entry(data)->window.title = QString::fromUtf8(title);
        entry(data)->owner->changed(entry(data)->window.id);
    }
    static void appId(void *data, org_kde_plasma_window *, const char *appId) {
        entry(data)->window.appId = QString::fromUtf8(appId);
        entry(data)->owner->changed(entry(data)->window.id);
    }
    static void state(void *data, org_kde_plasma_window *, uint32_t flags) {
        Entry *e = entry(data);
        const bool active = flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE;
        const bool changed = e->window.activated != active;
        e->window.activated = active;
        // Before initial_state the window is not listed yet; that event tells.
        if (e->ready && changed)
            e->owner->frontChanged();
    }
    static void virtualDesktop(void *, org_kde_plasma_window *, int32_t) {}
    static void themedIcon(void *data, org_kde_plasma_window *, const char *name) {
        entry(data)->window.iconName = QString::fromUtf8(name);
    }
    static void unmapped(void *data, org_kde_plasma_window *handle) {
        Entry *e = entry(data);
        PlasmaWindowList *owner = e->owner;
        const bool wasFront = e->ready && e->window.activated;
        if (wl_proxy_get_version(reinterpret_cast<wl_proxy *>(handle)) >= destroyVersion)
            org_kde_plasma_window_destroy(handle);
        else
            wl_proxy_destroy(reinterpret_cast<wl_proxy *>(handle));
        std::erase_if(owner->entries_, [e](const auto &p) { return p.get() == e; });
        if (wasFront)
            owner->frontChanged();
    }
    static void initialState(void *data, org_kde_plasma_window *) {
        Entry *e = entry(data);
        e->ready = true;
        if (e->window.activated)
            e->owner->frontChanged();
    }
    static void parent(void *, org_kde_plasma_window *, org_kde_plasma_window *) {}
    static void geometry(void *, org_kde_plasma_window *, int32_t, int32_t, uint32_t, uint32_t) {}
    static void iconChanged(void *, org_kde_plasma_window *) {}
    static void pid(void *data, org_kde_plasma_window *, uint32_t pid) {
        entry(data)->window.pid = qint32(pid);
    }
    static void desktopEntered(void *, org_kde_plasma_window *, const char *) {}
    static void desktopLeft(void *, org_kde_plasma_window *, const char *) {}
    static void menu(void *, org_kde_plasma_window *, const char *, const char *) {}
    static void activityEntered(void *, org_kde_plasma_window *, const char *) {}
    static void activityLeft(void *, org_kde_plasma_window *, const char *) {}
    static void resourceName(void *, org_kde_plasma_window *, const char *) {}

    static constexpr org_kde_plasma_window_listener windowListener{
        title,        appId,  state,           virtualDesktop, themedIcon,  unmapped,
        initialState, parent, geometry,        iconChanged,    pid,         desktopEntered,
        desktopLeft,  menu,   activityEntered, activityLeft,   resourceName};

    static void showDesktop(void *, org_kde_plasma_window_management *, uint32_t) {}
    static void window(void *data, org_kde_plasma_window_management *manager, uint32_t id) {
        if (wl_proxy_get_version(reinterpret_cast<wl_proxy *>(manager)) >= uuidVersion)
            return;
        static_cast<PlasmaWindowList *>(data)->track(
            org_kde_plasma_window_management_get_window(manager, id));
    }
    static void stacking(void *, org_kde_plasma_window_management *, wl_array *) {}
    static void stackingUuid(void *, org_kde_plasma_window_management *, const char *) {}
    static void windowWithUuid(void *data, org_kde_plasma_window_management *manager, uint32_t,
                               const char *uuid) {
        static_cast<PlasmaWindowList *>(data)->track(
            org_kde_plasma_window_management_get_window_by_uuid(manager, uuid));
    }
    static constexpr org_kde_plasma_window_management_listener managerListener{showDesktop, window, stacking,
                                                                               stackingUuid, windowWithUuid};
};

PlasmaWindowList::PlasmaWindowList() = default;

PlasmaWindowList::~PlasmaWindowList() = default;

const char *PlasmaWindowList::interfaceName() const {
    return org_kde_plasma_window_management_interface.name;
}

void PlasmaWindowList::bind(wl_registry *registry, uint32_t name, uint32_t version) {
    manager_ = static_cast<org_kde_plasma_window_management *>(wl_registry_bind(
        registry, name, &org_kde_plasma_window_management_interface,
        std::min<uint32_t>(version, uint32_t(org_kde_plasma_window_management_interface.version))));
}

void PlasmaWindowList::start() {
    if (manager_)
        org_kde_plasma_window_management_add_listener(manager_, &Events::managerListener, this);
}

void PlasmaWindowList::track(org_kde_plasma_window *handle) {
    auto e = std::make_unique<Entry>();
    e->owner = this;
    e->handle = handle;
    e->window.id = nextId();
    org_kde_plasma_window_add_listener(handle, &Events::windowListener, e.get());
    entries_.push_back(std::move(e));
}

QList<WaylandWindowList::Window> PlasmaWindowList::windows() const {
    QList<Window> result;
    for (const auto &e : entries_)
        if (e->ready)
            result.append(e->window);
    return result;
}

bool PlasmaWindowList::activate(quint64 id, wl_seat *) {
    for (const auto &e : entries_) {
        if (e->ready && e->window.id == id) {
            org_kde_plasma_window_set_state(e->handle, ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE,
                                            ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE);
            return true;
        }
    }
    return false;
}

void PlasmaWindowList::stop() {
    for (auto &e : entries_) {
        if (wl_proxy_get_version(reinterpret_cast<wl_proxy *>(e->handle)) >= destroyVersion)
            org_kde_plasma_window_destroy(e->handle);
        else
            wl_proxy_destroy(reinterpret_cast<wl_proxy *>(e->handle));
    }
    entries_.clear();
    if (manager_)
        org_kde_plasma_window_management_destroy(manager_);
    manager_ = nullptr;
}
