#include "desktop/x11/x11frontwatcher.h"

#include <cstdlib>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include <xcb/xcb.h>

namespace {

xcb_atom_t internAtom(xcb_connection_t *c, const char *name) {
    const auto cookie = xcb_intern_atom(c, 0, uint16_t(std::char_traits<char>::length(name)), name);
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(c, cookie, nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

} // namespace

struct X11FrontWatcher::Impl {
    Listener listener;
    xcb_connection_t *connection = nullptr;
    xcb_window_t root = 0;
    xcb_atom_t activeAtom = 0, nameAtom = 0, iconAtom = 0;
    // Only touched by the constructor, then by the thread.
    xcb_window_t watched = 0;
    int wakeFd = -1;
    std::thread thread;

    // The active window as the window manager announces it; 0 when none is.
    xcb_window_t activeWindow() {
        const auto cookie = xcb_get_property(connection, 0, root, activeAtom, XCB_ATOM_WINDOW, 0, 1);
        xcb_get_property_reply_t *reply = xcb_get_property_reply(connection, cookie, nullptr);
        xcb_window_t w = 0;
        if (reply && reply->format == 32 && xcb_get_property_value_length(reply) >= 4)
            w = *static_cast<const xcb_window_t *>(xcb_get_property_value(reply));
        std::free(reply);
        return w;
    }

    void select(xcb_window_t w, uint32_t mask) {
        // Unchecked: a window that vanished answers with an error event, which the loop drops.
        xcb_change_window_attributes(connection, w, XCB_CW_EVENT_MASK, &mask);
    }

    // Moves the property watch from the previous active window to the new one. The selection only
    // concerns this connection, so the window's other clients are not disturbed.
    void follow(xcb_window_t w) {
        const xcb_window_t old = std::exchange(watched, w);
        if (old == w)
            return;
        if (old != 0)
            select(old, XCB_EVENT_MASK_NO_EVENT);
        if (w != 0)
            select(w, XCB_EVENT_MASK_PROPERTY_CHANGE);
        // Selected before anyone reads the window: a title set from now on is announced.
        xcb_flush(connection);
    }

    void handle(const xcb_generic_event_t *event) {
        // Errors (response type 0) come from windows gone between two requests: nothing to do.
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
            return;
        const auto *e = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (e->window == root) {
            if (e->atom != activeAtom)
                return;
            follow(activeWindow());
            listener(DesktopBackend::FrontChange::Window);
        } else if (e->window == watched) {
            if (e->atom == iconAtom)
                listener(DesktopBackend::FrontChange::Icon);
            else if (e->atom == nameAtom || e->atom == XCB_ATOM_WM_NAME)
                listener(DesktopBackend::FrontChange::Title);
        }
    }

    void loop() {
        const int xcbFd = xcb_get_file_descriptor(connection);
        for (;;) {
            while (xcb_generic_event_t *event = xcb_poll_for_event(connection)) {
                handle(event);
                std::free(event);
            }
            if (xcb_connection_has_error(connection))
                return; // the display went away: there is nothing more to hear
            xcb_flush(connection);
            pollfd fds[2] = {{wakeFd, POLLIN, 0}, {xcbFd, POLLIN, 0}};
            if (poll(fds, 2, -1) < 0)
                continue; // a signal
            if (fds[0].revents & POLLIN)
                return;
        }
    }
};

X11FrontWatcher::X11FrontWatcher(const QByteArray &displayName, Listener listener)
    : d(std::make_unique<Impl>()) {
    d->listener = std::move(listener);
    int screen = 0;
    xcb_connection_t *c = xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screen);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        return;
    }
    d->connection = c;
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screen && it.rem > 0; ++i)
        xcb_screen_next(&it);
    d->root = it.data->root;
    d->activeAtom = internAtom(c, "_NET_ACTIVE_WINDOW");
    d->nameAtom = internAtom(c, "_NET_WM_NAME");
    d->iconAtom = internAtom(c, "_NET_WM_ICON");
    d->select(d->root, XCB_EVENT_MASK_PROPERTY_CHANGE);
    d->follow(d->activeWindow());
    d->wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    d->thread = std::thread([this] { d->loop(); });
}

X11FrontWatcher::~X11FrontWatcher() {
    if (d->thread.joinable()) {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t n = write(d->wakeFd, &one, sizeof one);
        d->thread.join();
    }
    if (d->wakeFd >= 0)
        close(d->wakeFd);
    if (d->connection)
        xcb_disconnect(d->connection);
}

bool X11FrontWatcher::running() const {
    return d->thread.joinable();
}
