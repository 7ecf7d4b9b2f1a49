#include "focuswatch.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

struct FocusWatch::Private {
    Display *display = nullptr;
    Window window = 0;
    Atom active = 0;
    QList<quint64> actives;
    int losses = 0;
};

FocusWatch::FocusWatch(quint64 window) : d(std::make_unique<Private>()) {
    d->display = XOpenDisplay(nullptr);
    d->window = Window(window);
    if (!d->display)
        return;
    d->active = XInternAtom(d->display, "_NET_ACTIVE_WINDOW", False);
    XSelectInput(d->display, DefaultRootWindow(d->display), PropertyChangeMask);
    XSelectInput(d->display, d->window, FocusChangeMask);
    XSync(d->display, False);
}

FocusWatch::~FocusWatch() {
    if (d->display)
        XCloseDisplay(d->display);
}

void FocusWatch::read() {
    if (!d->display)
        return;
    XSync(d->display, False);
    while (XPending(d->display)) {
        XEvent event;
        XNextEvent(d->display, &event);
        if (event.type == PropertyNotify && event.xproperty.atom == d->active) {
            Atom type = 0;
            int format = 0;
            unsigned long count = 0, after = 0;
            unsigned char *data = nullptr;
            if (XGetWindowProperty(d->display, DefaultRootWindow(d->display), d->active, 0, 1, False,
                                   XA_WINDOW, &type, &format, &count, &after, &data) == Success &&
                data && count == 1)
                d->actives.append(*reinterpret_cast<unsigned long *>(data));
            if (data)
                XFree(data);
        } else if (event.type == FocusOut) {
            // Grabs (a menu, the manager's click handling) and moves inside the window are no loss.
            const XFocusChangeEvent &focus = event.xfocus;
            if (focus.mode == NotifyNormal && focus.detail != NotifyInferior && focus.detail != NotifyPointer)
                ++d->losses;
        }
    }
}

QList<quint64> FocusWatch::activeWindows() {
    read();
    return d->actives;
}

int FocusWatch::focusLosses() {
    read();
    return d->losses;
}
