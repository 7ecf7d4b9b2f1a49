#include "desktop/x11/x11backend.h"

#include "desktop/x11/x11frontwatcher.h"
#include "desktop/x11/x11keymap.h"
#include "model/logging.h"

#include <QHash>
#include <algorithm>
#include <chrono>
#include <condition_variable>

#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

// X headers last: their macros (None, Bool, Status) clash with names in Qt headers.
#include "desktop/x11/x11resources.h"
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <xcb/xcb.h>

namespace {

// Xlib's default handler ends the process on any error, and a window can vanish between two
// requests at any time; failures are read from the return values instead.
int ignoreXError(Display *, XErrorEvent *) {
    return 0;
}

struct Property {
    XPtr<unsigned char> data;
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
};

enum class Read { Ok, Missing, Gone };

// How long a key lent for the last stroke of a send stays lent: the program reads the stroke
// through its own copy of the keymap, when it gets to it.
constexpr std::chrono::milliseconds lendHold{2000};

} // namespace

struct X11Backend::Impl {
    std::mutex mutex;
    DisplayPtr display;
    XdoPtr xdo;
    Window root = 0;
    bool xtest = false;
    // The layout in force, read again whenever the server says it changed. Declared after the
    // display, which it uses to put a lent key back when it goes.
    std::unique_ptr<X11Keymap> keymap;
    // Takes a lent key back once lendHold has passed without another stroke; from the first lend on.
    std::thread returner;
    std::condition_variable returnWake;
    std::optional<std::chrono::steady_clock::time_point> returnAt;
    bool closing = false;
    qint32 ownPid = 0;
    unsigned long resourceMask = 0;
    QHash<quint32, QString> typeNames;
    // A connection and a thread of its own, from the first watchFront on.
    std::unique_ptr<X11FrontWatcher> frontWatcher;
    Atom activeWindowAtom = 0, clientList = 0, supported = 0, wmPid = 0, wmName = 0, wmIcon = 0, gtkAppId = 0,
         kdeDesktopFile = 0;

    Atom atom(const char *name) { return XInternAtom(display.get(), name, False); }

    Read read(Window w, Atom property, long maxItems, Property &out) {
        Atom type = 0;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char *data = nullptr;
        const int status = XGetWindowProperty(display.get(), w, property, 0, maxItems, False, AnyPropertyType,
                                              &type, &format, &count, &after, &data);
        if (status != Success)
            return Read::Gone;
        out.data.reset(data);
        out.type = type;
        out.format = format;
        out.count = count;
        return data && type != 0 ? Read::Ok : Read::Missing;
    }

    // Format-32 items come back from Xlib as longs, whatever their size on the wire.
    std::vector<unsigned long> cardinals(Window w, Atom property, long maxItems) {
        Property p;
        std::vector<unsigned long> result;
        if (read(w, property, maxItems, p) == Read::Ok && p.format == 32) {
            const auto *items = reinterpret_cast<const unsigned long *>(p.data.get());
            result.assign(items, items + p.count);
        }
        return result;
    }

    std::optional<QString> text(Window w, Atom property) {
        Property p;
        if (read(w, property, 4096, p) != Read::Ok || p.format != 8)
            return std::nullopt;
        return QString::fromUtf8(reinterpret_cast<const char *>(p.data.get()), qsizetype(p.count));
    }

    Window activeWindow() {
        Property p;
        if (read(root, activeWindowAtom, 1, p) == Read::Ok && p.format == 32 && p.count == 1) {
            const auto active = Window(*reinterpret_cast<const unsigned long *>(p.data.get()));
            // A window manager that saw the focus go and not come back (a program moved it behind
            // its back) says no window is active while one holds the keyboard: that one is in front.
            if (active != 0)
                return active;
        }
        // No window manager, or none active: the client window that holds the keyboard focus.
        Window focused = 0;
        if (xdo_get_focused_window_sane(xdo.get(), &focused) != XDO_SUCCESS)
            return 0;
        return focused;
    }

    bool modifiersHeld() {
        keymap->update();
        return keymap->modifierHeld();
    }

    static KeySym symbol(Key key) {
        switch (key) {
        case Key::V:
            return XK_v;
        case Key::Enter:
            return XK_KP_Enter;
        case Key::Left:
            return XK_Left;
        case Key::Insert:
            return XK_Insert;
        }
        return NoSymbol;
    }

    // The key codes of a stroke in the layout in force; keymap->update() comes first.
    struct Keys {
        KeyCode key = 0, control = 0, shift = 0;
        bool lent = false;
    };

    // A symbol that no group of the layout has is lent to a key for the stroke; takeBack() returns
    // it.
    std::optional<Keys> keysFor(const Stroke &stroke) {
        Keys keys;
        if (stroke.control && (keys.control = keymap->modifierKey(ControlMapIndex, XK_Control_L)) == 0)
            return std::nullopt;
        if (stroke.shift && (keys.shift = keymap->modifierKey(ShiftMapIndex, XK_Shift_L)) == 0)
            return std::nullopt;
        const KeySym sym = symbol(stroke.key);
        keys.key = keymap->code(sym);
        if (keys.key == 0) {
            keys.key = keymap->mapMissing(sym);
            keys.lent = true;
        }
        if (keys.key == 0)
            return std::nullopt;
        return keys;
    }

    void press(const Keys &keys) {
        Display *dpy = display.get();
        std::vector<KeyCode> held;
        if (keys.control)
            held.push_back(keys.control);
        if (keys.shift)
            held.push_back(keys.shift);
        for (KeyCode k : held)
            XTestFakeKeyEvent(dpy, k, True, CurrentTime);
        XTestFakeKeyEvent(dpy, keys.key, True, CurrentTime);
        XTestFakeKeyEvent(dpy, keys.key, False, CurrentTime);
        for (auto k = held.rbegin(); k != held.rend(); ++k)
            XTestFakeKeyEvent(dpy, *k, False, CurrentTime);
        XSync(dpy, False);
    }

    // A program reads key symbols through its own copy of the keymap, fetched when it gets to the
    // change notice, and with an input method in between only once that has handed the key back:
    // the key stays lent until the next stroke (the send types it once the target has taken this
    // one) or lendHold, whichever comes first. Called with the mutex held.
    void lendOut() {
        returnAt = std::chrono::steady_clock::now() + lendHold;
        if (!returner.joinable())
            returner = std::thread([this] { returnLoop(); });
        returnWake.notify_all();
    }

    void takeBack() {
        if (!returnAt)
            return;
        returnAt.reset();
        keymap->restoreMissing();
        XSync(display.get(), False);
    }

    void returnLoop() {
        std::unique_lock lock(mutex);
        while (!closing) {
            if (!returnAt)
                returnWake.wait(lock);
            else if (returnWake.wait_until(lock, *returnAt) == std::cv_status::timeout && returnAt &&
                     std::chrono::steady_clock::now() >= *returnAt)
                takeBack();
        }
    }

    // A window the desktop counts as a program's window: listed by the window manager, or
    // without one, any window that names its class.
    bool isClient(Window w, const std::vector<unsigned long> &clients) {
        if (!clients.empty())
            return std::find(clients.begin(), clients.end(), w) != clients.end();
        XClassHint hint{nullptr, nullptr};
        if (!XGetClassHint(display.get(), w, &hint))
            return false;
        XPtr<char> name(hint.res_name), cls(hint.res_class);
        return true;
    }

    // Focus is usually on the client window itself; some programs put it on a child. Window
    // managers park it on windows of their own between two clients: that is nobody's.
    Focus focus(Window target) {
        Display *dpy = display.get();
        XWindowAttributes attrs;
        if (!XGetWindowAttributes(dpy, target, &attrs))
            return Focus::Gone;
        Window focused = 0;
        int revert = 0;
        XGetInputFocus(dpy, &focused, &revert);
        const std::vector<unsigned long> clients = cardinals(root, clientList, 65536);
        for (Window w = focused; w != 0 && w != PointerRoot && w != root;) {
            if (w == target)
                return Focus::Target;
            if (isClient(w, clients)) {
                Property pid;
                const bool own = read(w, wmPid, 1, pid) == Read::Ok && pid.format == 32 && pid.count == 1 &&
                                 qint32(*reinterpret_cast<const unsigned long *>(pid.data.get())) == ownPid;
                return own ? Focus::Own : Focus::Elsewhere;
            }
            Window rootRet = 0, parent = 0, *children = nullptr;
            unsigned int n = 0;
            if (!XQueryTree(dpy, w, &rootRet, &parent, &children, &n))
                break;
            XPtr<Window> owned(children);
            w = parent;
        }
        return Focus::Nowhere;
    }

    bool wmSupportsActivation() {
        for (unsigned long a : cardinals(root, supported, 4096))
            if (a == activeWindowAtom)
                return true;
        return false;
    }

    struct Identity {
        qint32 pid = -1;
        std::optional<QString> bundleIdentifier;
        QString className;
    };
    QHash<Window, Identity> identities;

    Identity identity(Window w, qint32 pid) {
        Identity result;
        result.pid = pid;
        XClassHint hint{nullptr, nullptr};
        if (XGetClassHint(display.get(), w, &hint)) {
            XPtr<char> name(hint.res_name), cls(hint.res_class);
            if (cls)
                result.className = QString::fromLocal8Bit(cls.get());
        }
        for (Atom id : {gtkAppId, kdeDesktopFile}) {
            auto value = text(w, id);
            if (value && value->endsWith(QLatin1String(".desktop")))
                value->chop(8);
            if (value && !value->isEmpty()) {
                result.bundleIdentifier = value;
                break;
            }
        }
        if (!result.bundleIdentifier && !result.className.isEmpty())
            result.bundleIdentifier = result.className;
        return result;
    }

    std::optional<RunningApplication> application(Window w) {
        if (w == 0)
            return std::nullopt;
        RunningApplication app;
        app.window = w;
        Property pid;
        const Read r = read(w, wmPid, 1, pid);
        if (r == Read::Gone)
            return std::nullopt;
        if (r == Read::Ok && pid.format == 32 && pid.count == 1)
            app.pid = qint32(*reinterpret_cast<const unsigned long *>(pid.data.get()));

        // What a window is does not change while it lives; the tracker asks on every change, so only
        // the title is read again. The pid guards against an id reused by a later window.
        auto cached = identities.constFind(w);
        if (cached == identities.constEnd() || cached->pid != app.pid) {
            if (identities.size() > 256)
                identities.clear();
            cached = identities.insert(w, identity(w, app.pid));
        }
        app.appId = cached->bundleIdentifier;
        const QString &className = cached->className;

        // Older programs (xterm) name their windows only in WM_NAME, a Latin-1 string.
        if (auto name = text(w, wmName); name && !name->isEmpty())
            app.title = *name;
        else if (Property old; read(w, XA_WM_NAME, 4096, old) == Read::Ok && old.format == 8 && old.count > 0)
            app.title =
                QString::fromLatin1(reinterpret_cast<const char *>(old.data.get()), qsizetype(old.count));
        else
            app.title = className;
        return app;
    }
};

X11Backend::X11Backend() : d(std::make_unique<Impl>()) {
    d->display.reset(XOpenDisplay(nullptr));
    if (!d->display) {
        qCInfo(lcDesktop, "no X display: phrases cannot be sent into other programs");
        return;
    }
    XSetErrorHandler(ignoreXError);
    Display *dpy = d->display.get();
    d->xdo.reset(xdo_new_with_opened_display(dpy, nullptr, 0));
    d->root = DefaultRootWindow(dpy);
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    d->xtest = XTestQueryExtension(dpy, &eventBase, &errorBase, &major, &minor);
    d->keymap = std::make_unique<X11Keymap>(dpy);
    d->ownPid = qint32(getpid());
    // Xlib keeps the connection's resource mask to itself; the same server tells it to xcb.
    xcb_connection_t *probe = xcb_connect(DisplayString(dpy), nullptr);
    if (!xcb_connection_has_error(probe))
        d->resourceMask = xcb_get_setup(probe)->resource_id_mask;
    xcb_disconnect(probe);
    d->activeWindowAtom = d->atom("_NET_ACTIVE_WINDOW");
    d->clientList = d->atom("_NET_CLIENT_LIST");
    d->supported = d->atom("_NET_SUPPORTED");
    d->wmPid = d->atom("_NET_WM_PID");
    d->wmName = d->atom("_NET_WM_NAME");
    d->wmIcon = d->atom("_NET_WM_ICON");
    d->gtkAppId = d->atom("_GTK_APPLICATION_ID");
    d->kdeDesktopFile = d->atom("_KDE_NET_WM_DESKTOP_FILE");
    if (!d->xdo || !d->xtest)
        qCInfo(lcDesktop, "X display without XTest: phrases cannot be sent into other programs");
    else if (!d->keymap->valid())
        qCInfo(lcDesktop, "X display without XKB: phrases cannot be sent into other programs");
}

X11Backend::~X11Backend() {
    if (d->returner.joinable()) {
        {
            std::lock_guard lock(d->mutex);
            d->closing = true;
        }
        d->returnWake.notify_all();
        d->returner.join();
    }
    // The keymap takes a key still lent back as it goes.
}

bool X11Backend::available() const {
    return d->display && d->xdo && d->xtest && d->keymap->valid();
}

std::optional<RunningApplication> X11Backend::activeApplication() {
    if (!available())
        return std::nullopt;
    std::lock_guard lock(d->mutex);
    return d->application(d->activeWindow());
}

QList<RunningApplication> X11Backend::runningApplications() {
    QList<RunningApplication> result;
    if (!available())
        return result;
    std::lock_guard lock(d->mutex);
    std::vector<unsigned long> windows = d->cardinals(d->root, d->clientList, 65536);
    if (windows.empty()) {
        // No window manager: the mapped top-level windows.
        Window rootRet = 0, parent = 0, *children = nullptr;
        unsigned int n = 0;
        if (XQueryTree(d->display.get(), d->root, &rootRet, &parent, &children, &n)) {
            XPtr<Window> owned(children);
            for (unsigned int i = 0; i < n; ++i) {
                XWindowAttributes attrs;
                if (XGetWindowAttributes(d->display.get(), children[i], &attrs) &&
                    attrs.map_state == IsViewable && !attrs.override_redirect)
                    windows.push_back(children[i]);
            }
        }
    }
    for (unsigned long w : windows)
        if (auto app = d->application(Window(w)))
            result.append(*app);
    return result;
}

bool X11Backend::activate(const RunningApplication &application) {
    if (!available() || application.window == 0)
        return false;
    std::lock_guard lock(d->mutex);
    Display *dpy = d->display.get();
    const auto w = Window(application.window);
    XWindowAttributes attrs;
    if (!XGetWindowAttributes(dpy, w, &attrs))
        return false; // closed meanwhile
    if (d->wmSupportsActivation())
        return xdo_activate_window(d->xdo.get(), w) == XDO_SUCCESS;
    XRaiseWindow(dpy, w);
    XSetInputFocus(dpy, w, RevertToParent, CurrentTime);
    XSync(dpy, False);
    return XGetWindowAttributes(dpy, w, &attrs) != 0;
}

QImage X11Backend::icon(quint64 window) {
    if (!available() || window == 0)
        return {};
    std::vector<unsigned long> data;
    {
        std::lock_guard lock(d->mutex);
        data = d->cardinals(Window(window), d->wmIcon, 16 * 1024 * 1024);
    }
    // Several sizes one after the other: width, height, then width*height ARGB pixels. Take the
    // smallest one of at least 64 pixels, else the largest.
    size_t best = data.size();
    unsigned long bestWidth = 0;
    for (size_t i = 0; i + 2 <= data.size();) {
        const unsigned long w = data[i], h = data[i + 1];
        if (w == 0 || h == 0 || w > 4096 || h > 4096 || i + 2 + w * h > data.size())
            break;
        const bool better =
            best == data.size() || (bestWidth < 64 ? w > bestWidth : (w >= 64 && w < bestWidth));
        if (better) {
            best = i;
            bestWidth = w;
        }
        i += 2 + w * h;
    }
    if (best == data.size())
        return {};
    const int w = int(data[best]), h = int(data[best + 1]);
    QImage image(w, h, QImage::Format_ARGB32);
    const unsigned long *pixels = data.data() + best + 2;
    for (int y = 0; y < h; ++y) {
        auto *line = reinterpret_cast<quint32 *>(image.scanLine(y));
        for (int x = 0; x < w; ++x)
            line[x] = quint32(pixels[size_t(y) * size_t(w) + size_t(x)]);
    }
    return image;
}

bool X11Backend::modifiersHeld() {
    if (!available())
        return false;
    std::lock_guard lock(d->mutex);
    return d->modifiersHeld();
}

bool X11Backend::keyStroke(Key key, bool control) {
    if (!available())
        return false;
    std::lock_guard lock(d->mutex);
    d->takeBack();
    d->keymap->update();
    const auto keys = d->keysFor({key, control, false});
    if (!keys)
        return false;
    d->press(*keys);
    if (keys->lent)
        d->lendOut();
    return true;
}

DesktopBackend::Focus X11Backend::focus(quint64 window) {
    if (!available() || window == 0)
        return Focus::Gone;
    std::lock_guard lock(d->mutex);
    return d->focus(Window(window));
}

DesktopBackend::StrokeResult X11Backend::strokeInto(quint64 window, Stroke stroke) {
    if (!available() || window == 0)
        return StrokeResult::Failed;
    std::lock_guard lock(d->mutex);
    Display *dpy = d->display.get();
    // A keymap read again is read before the grab, which holds every other program up meanwhile;
    // under it only the notices since then are looked at.
    d->takeBack();
    d->keymap->update();
    // With the server grabbed no other client (the window manager included) can move the focus or
    // change the layout between the check and the keys; the fake events are processed before the
    // grab ends.
    XGrabServer(dpy);
    StrokeResult result = StrokeResult::Typed;
    std::optional<Impl::Keys> keys;
    if (d->modifiersHeld())
        result = StrokeResult::ModifiersHeld;
    else if (d->focus(Window(window)) != Focus::Target)
        result = StrokeResult::NotFocused;
    else if (!(keys = d->keysFor(stroke)))
        result = StrokeResult::Failed;
    else
        d->press(*keys);
    XUngrabServer(dpy);
    XSync(dpy, False);
    if (keys && keys->lent)
        d->lendOut();
    return result;
}

bool X11Backend::sameClient(quint64 a, quint64 b) {
    if (!available() || a == 0 || b == 0 || d->resourceMask == 0)
        return false;
    // The server gives every connection its own range of ids: the bits above the resource mask.
    return (a & ~quint64(d->resourceMask)) == (b & ~quint64(d->resourceMask));
}

QString X11Backend::typeName(quint32 type) {
    if (!available() || type == 0)
        return {};
    std::lock_guard lock(d->mutex);
    auto known = d->typeNames.constFind(type);
    if (known != d->typeNames.constEnd())
        return *known;
    XPtr<char> name(XGetAtomName(d->display.get(), Atom(type)));
    const QString result = name ? QString::fromLatin1(name.get()) : QString();
    d->typeNames.insert(type, result);
    return result;
}

bool X11Backend::watchFront(std::function<void(FrontChange)> listener) {
    if (!available())
        return false;
    std::lock_guard lock(d->mutex);
    // Without a window manager nothing on the root window tells when the focus moves from one
    // top-level window to another (focus events go to the windows themselves), so the caller asks.
    if (!d->wmSupportsActivation())
        return false;
    d->frontWatcher =
        std::make_unique<X11FrontWatcher>(QByteArray(DisplayString(d->display.get())), std::move(listener));
    return d->frontWatcher->running();
}
