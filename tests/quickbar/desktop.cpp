#include "desktop.h"

#include <QTest>
#include <QWidget>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace desktop {

namespace {

Display *display() {
    static Display *d = XOpenDisplay(nullptr);
    return d;
}

// All items of a 32-bit property.
QList<unsigned long> property(quint64 window, const char *name, Atom type, long length) {
    QList<unsigned long> items;
    Atom actual = 0;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char *data = nullptr;
    if (XGetWindowProperty(display(), Window(window), XInternAtom(display(), name, False), 0, length, False,
                           type, &actual, &format, &count, &after, &data) == Success &&
        data && format == 32) {
        const auto *values = reinterpret_cast<const unsigned long *>(data);
        items = QList<unsigned long>(values, values + count);
    }
    if (data)
        XFree(data);
    return items;
}

} // namespace

quint64 rootWindow() {
    return DefaultRootWindow(display());
}

quint64 windowProperty(quint64 window, const char *name, bool isWindow) {
    const QList<unsigned long> items = property(window, name, isWindow ? XA_WINDOW : XA_CARDINAL, 1);
    return items.isEmpty() ? 0 : items.first();
}

quint64 activeWindow() {
    return windowProperty(rootWindow(), "_NET_ACTIVE_WINDOW", true);
}

qint64 windowPid(quint64 window) {
    return window ? qint64(windowProperty(window, "_NET_WM_PID")) : 0;
}

quint64 managedWindowOf(qint64 pid) {
    for (unsigned long window : property(rootWindow(), "_NET_CLIENT_LIST", XA_WINDOW, 1024))
        if (windowPid(window) == pid)
            return window;
    return 0;
}

void requestActivation(quint64 window) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = Window(window);
    event.xclient.message_type = XInternAtom(display(), "_NET_ACTIVE_WINDOW", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = 2; // from a pager: always honoured
    XSendEvent(display(), DefaultRootWindow(display()), False,
               SubstructureRedirectMask | SubstructureNotifyMask, &event);
    XSync(display(), False);
}

QSet<QByteArray> netWmState(quint64 window) {
    QSet<QByteArray> names;
    for (unsigned long atom : property(window, "_NET_WM_STATE", XA_ATOM, 32)) {
        char *name = XGetAtomName(display(), atom);
        names.insert(QByteArray(name));
        XFree(name);
    }
    return names;
}

bool windowManagerRunning() {
    return windowProperty(rootWindow(), "_NET_SUPPORTING_WM_CHECK", true) != 0;
}

void moveWindow(quint64 window, const QRect &to) {
    XMoveResizeWindow(display(), Window(window), to.x(), to.y(), unsigned(to.width()), unsigned(to.height()));
    XSync(display(), False);
}

void pointerTo(QPoint at) {
    XTestFakeMotionEvent(display(), -1, at.x(), at.y(), CurrentTime);
    XSync(display(), False);
}

void button(bool down) {
    XTestFakeButtonEvent(display(), 1, down ? True : False, CurrentTime);
    XSync(display(), False);
}

void click(QPoint at) {
    pointerTo(at);
    QTest::qWait(150);
    button(true);
    QTest::qWait(50);
    button(false);
}

void pressWith(const QList<unsigned long> &modifiers, unsigned long key) {
    QList<int> codes;
    for (unsigned long sym : modifiers)
        codes << XKeysymToKeycode(display(), sym);
    const int code = XKeysymToKeycode(display(), key);
    for (int c : codes)
        XTestFakeKeyEvent(display(), c, True, CurrentTime);
    XTestFakeKeyEvent(display(), code, True, CurrentTime);
    XTestFakeKeyEvent(display(), code, False, CurrentTime);
    for (int c : codes)
        XTestFakeKeyEvent(display(), c, False, CurrentTime);
    XSync(display(), False);
}

void warmUpKeyboard() {
    pressWith({}, XK_Shift_L);
    QTest::qWait(200);
}

QPoint centreOf(QWidget *widget) {
    return widget->mapToGlobal(widget->rect().center());
}

} // namespace desktop
