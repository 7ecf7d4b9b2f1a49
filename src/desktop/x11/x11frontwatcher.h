#pragma once

#include "desktop/desktopbackend.h"

#include <QByteArray>
#include <functional>
#include <memory>

// Tells when the window in front changes, or its title or icon, from the property changes the
// window manager and the windows announce. A thread of its own with a connection of its own to
// the display: it sleeps in the connection until the server has something to say.
class X11FrontWatcher {
public:
    using Listener = std::function<void(DesktopBackend::FrontChange)>;

    // Starts watching the display of that name; listener is called on the watcher's thread.
    X11FrontWatcher(const QByteArray &displayName, Listener listener);
    // Stops and joins the thread.
    ~X11FrontWatcher();
    X11FrontWatcher(const X11FrontWatcher &) = delete;
    X11FrontWatcher &operator=(const X11FrontWatcher &) = delete;

    // False when the display could not be reached; then the listener is never called.
    bool running() const;

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
