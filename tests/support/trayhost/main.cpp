// A minimal system tray on the display in DISPLAY: it owns the tray selection of screen 0, announces
// itself to the clients already running, embeds every icon that asks to dock into one strip at the
// top-left corner of the screen, and prints "ready" and then "docked 0x<window> at <x>,<y>".
#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <cstdio>
#include <string>

namespace {

constexpr int iconSize = 24;
constexpr long requestDock = 0;

// An icon may go away before it is embedded; that is no reason to stop.
int ignoreErrors(Display *, XErrorEvent *) {
    return 0;
}

} // namespace

int main() {
    Display *display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "trayhost: no display\n");
        return 1;
    }
    XSetErrorHandler(ignoreErrors);
    const int screen = DefaultScreen(display);
    const Window root = RootWindow(display, screen);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True; // stays where the tests click, above the other windows
    attributes.background_pixel = BlackPixel(display, screen);
    const Window strip =
        XCreateWindow(display, root, 0, 0, iconSize * 8, iconSize, 0, CopyFromParent, InputOutput,
                      CopyFromParent, CWOverrideRedirect | CWBackPixel, &attributes);
    XSelectInput(display, strip, SubstructureNotifyMask);
    XMapRaised(display, strip);

    const std::string selectionName = "_NET_SYSTEM_TRAY_S" + std::to_string(screen);
    const Atom selection = XInternAtom(display, selectionName.c_str(), False);
    const Atom opcode = XInternAtom(display, "_NET_SYSTEM_TRAY_OPCODE", False);
    const Atom manager = XInternAtom(display, "MANAGER", False);
    const Atom orientation = XInternAtom(display, "_NET_SYSTEM_TRAY_ORIENTATION", False);
    const long horizontal = 0;
    XChangeProperty(display, strip, orientation, XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char *>(&horizontal), 1);
    XSetSelectionOwner(display, selection, strip, CurrentTime);
    if (XGetSelectionOwner(display, selection) != strip) {
        std::fprintf(stderr, "trayhost: another tray owns %s\n", selectionName.c_str());
        return 1;
    }
    XEvent announce{};
    announce.xclient.type = ClientMessage;
    announce.xclient.window = root;
    announce.xclient.message_type = manager;
    announce.xclient.format = 32;
    announce.xclient.data.l[0] = CurrentTime;
    announce.xclient.data.l[1] = long(selection);
    announce.xclient.data.l[2] = long(strip);
    XSendEvent(display, root, False, StructureNotifyMask, &announce);
    XFlush(display);
    std::printf("ready\n");
    std::fflush(stdout);

    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type != ClientMessage || event.xclient.message_type != opcode ||
            event.xclient.data.l[1] != requestDock)
            continue;
        const Window icon = Window(event.xclient.data.l[2]);
        // Next to the icons still there: one of a program that ended leaves its place free.
        Window rootReturn = 0, parent = 0, *children = nullptr;
        unsigned count = 0;
        XQueryTree(display, strip, &rootReturn, &parent, &children, &count);
        if (children)
            XFree(children);
        const int x = int(count) * iconSize;
        XReparentWindow(display, icon, strip, x, 0);
        XResizeWindow(display, icon, iconSize, iconSize);
        XMapRaised(display, icon);
        XSync(display, False);
        std::printf("docked 0x%lx at %d,%d\n", icon, x + iconSize / 2, iconSize / 2);
        std::fflush(stdout);
    }
}
