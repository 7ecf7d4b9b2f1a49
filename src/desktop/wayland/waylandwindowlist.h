#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>
#include <cstdint>
#include <functional>

struct wl_registry;
struct wl_seat;

// How a Wayland back-end learns the windows of other programs and brings one forward: one
// implementation per window management protocol. Used only on the back-end's connection thread.
class WaylandWindowList {
public:
    struct Window {
        quint64 id = 0;
        QString title, appId;
        // The icon the compositor names from the icon theme; empty where the protocol has none.
        QString iconName;
        // 0 where the protocol does not tell.
        qint32 pid = 0;
        bool activated = false;
    };

    WaylandWindowList() = default;
    virtual ~WaylandWindowList() = default;
    WaylandWindowList(const WaylandWindowList &) = delete;
    WaylandWindowList &operator=(const WaylandWindowList &) = delete;

    // The global this list is built on.
    virtual const char *interfaceName() const = 0;
    virtual void bind(wl_registry *registry, uint32_t name, uint32_t version) = 0;
    virtual bool bound() const = 0;
    // Asks for the windows; they arrive with the next round trips.
    virtual void start() = 0;
    // The windows reported in full, in the order the compositor announced them.
    virtual QList<Window> windows() const = 0;
    virtual bool activate(quint64 id, wl_seat *seat) = 0;
    // Lets go of every object; the connection is still open.
    virtual void stop() = 0;

    // Called when another window comes to the front or the front one closes.
    void setFrontListener(std::function<void()> listener) { frontListener_ = std::move(listener); }
    // Called when a window's title or application changes.
    void setChangeListener(std::function<void(quint64)> listener) { changeListener_ = std::move(listener); }

    // Window ids start above every X window id, so that the two never meet.
    static constexpr quint64 firstId = quint64(1) << 32;

protected:
    void frontChanged() const {
        if (frontListener_)
            frontListener_();
    }
    void changed(quint64 id) const {
        if (changeListener_)
            changeListener_(id);
    }
    quint64 nextId() { return next_++; }

private:
    std::function<void()> frontListener_;
    std::function<void(quint64)> changeListener_;
    quint64 next_ = firstId;
};
