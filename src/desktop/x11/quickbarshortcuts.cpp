#include "desktop/x11/quickbarshortcuts.h"
#include "model/logging.h"

#include <QSocketNotifier>
#include <QStringList>
#include <array>

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xproto.h>
#include <X11/keysym.h>

namespace {

struct DisplayCloser {
    void operator()(Display *display) const { XCloseDisplay(display); }
};
using DisplayPtr = std::unique_ptr<Display, DisplayCloser>;

// Lock keys must not change the meaning of a shortcut, so each one is grabbed with every combination
// of Caps Lock and Num Lock (Mod2 on common layouts).
constexpr std::array<unsigned, 4> lockVariants = {0, LockMask, Mod2Mask, LockMask | Mod2Mask};

bool grabFailed = false;

int recordGrabError(Display *, XErrorEvent *event) {
    if (event->request_code == X_GrabKey)
        grabFailed = true;
    return 0;
}

} // namespace

struct QuickBarShortcuts::Private {
    DisplayPtr display;
    std::unique_ptr<QSocketNotifier> notifier;
    unsigned modifiers = 0;
    QList<unsigned long> keys;
    QList<int> keycodes; // 0: not grabbed
    QString what;
};

namespace {

QList<unsigned long> functionKeys() {
    QList<unsigned long> keys;
    for (unsigned long i = 0; i < 12; ++i)
        keys << XK_F1 + i;
    return keys;
}

} // namespace

QuickBarShortcuts::QuickBarShortcuts(QObject *parent)
    : QuickBarShortcuts(functionKeys(), QStringLiteral("quick bar shortcuts"), parent) {}

QuickBarShortcuts::QuickBarShortcuts(const QList<unsigned long> &keys, const QString &what, QObject *parent)
    : QObject(parent), d(std::make_unique<Private>()) {
    d->keys = keys;
    d->keycodes = QList<int>(keys.size(), 0);
    d->what = what;
}

std::optional<std::pair<QString, unsigned long>> QuickBarShortcuts::parseShortcut(const QString &text) {
    const qsizetype plus = text.lastIndexOf(QLatin1Char('+'));
    const QString modifiers = plus < 0 ? QStringLiteral("None") : text.left(plus);
    const QString name = text.mid(plus + 1).trimmed();
    if (name.isEmpty() || !parseModifiers(modifiers))
        return std::nullopt;
    // Key names as X spells them ("space", "F13"), whatever the case the user wrote.
    for (const QString &candidate : {name, name.toLower(), name.left(1).toUpper() + name.mid(1).toLower()}) {
        const KeySym key = XStringToKeysym(candidate.toLatin1().constData());
        if (key != NoSymbol)
            return std::make_pair(modifiers, static_cast<unsigned long>(key));
    }
    return std::nullopt;
}

QuickBarShortcuts::~QuickBarShortcuts() {
    setModifiers(QString());
}

std::optional<unsigned> QuickBarShortcuts::parseModifiers(const QString &text) {
    const QStringList names = text.split(QLatin1Char('+'), Qt::SkipEmptyParts);
    if (names.isEmpty())
        return std::nullopt;
    unsigned mask = 0;
    for (const QString &raw : names) {
        const QString name = raw.trimmed().toLower();
        if (name == QLatin1String("ctrl") || name == QLatin1String("control"))
            mask |= ControlMask;
        else if (name == QLatin1String("alt"))
            mask |= Mod1Mask;
        else if (name == QLatin1String("shift"))
            mask |= ShiftMask;
        else if (name == QLatin1String("super") || name == QLatin1String("meta") ||
                 name == QLatin1String("win"))
            mask |= Mod4Mask;
        else if (name == QLatin1String("none") && names.size() == 1)
            mask = 0;
        else
            return std::nullopt;
    }
    // The keyboard map gives Ctrl+Alt with a function key to the server (console switching), so such
    // a shortcut would never arrive.
    if ((mask & ControlMask) && (mask & Mod1Mask))
        return std::nullopt;
    return mask;
}

int QuickBarShortcuts::grabbedCount() const {
    int n = 0;
    for (int code : d->keycodes)
        n += code != 0;
    return n;
}

bool QuickBarShortcuts::setModifiers(const QString &text) {
    Display *display = d->display.get();
    if (display) {
        const Window root = DefaultRootWindow(display);
        for (int &code : d->keycodes) {
            if (code == 0)
                continue;
            for (unsigned lock : lockVariants)
                XUngrabKey(display, code, d->modifiers | lock, root);
            code = 0;
        }
        XSync(display, False);
    }
    if (text.trimmed().isEmpty())
        return true;

    const std::optional<unsigned> modifiers = parseModifiers(text);
    if (!modifiers) {
        qCInfo(lcDesktop,
               "%s: cannot read the modifiers \"%s\" (use names such as Ctrl+Shift, "
               "Shift+Super or None; Ctrl+Alt with a function key switches the console)",
               qUtf8Printable(d->what), qUtf8Printable(text));
        return false;
    }
    if (!display) {
        d->display.reset(XOpenDisplay(nullptr));
        display = d->display.get();
        if (!display) {
            qCInfo(lcDesktop, "%s: no X display, shortcuts are off", qUtf8Printable(d->what));
            return false;
        }
        // Without detectable auto-repeat a held key would also deliver a release before each repeat.
        XkbSetDetectableAutoRepeat(display, True, nullptr);
        d->notifier = std::make_unique<QSocketNotifier>(ConnectionNumber(display), QSocketNotifier::Read);
        connect(d->notifier.get(), &QSocketNotifier::activated, this, &QuickBarShortcuts::readEvents);
    }

    d->modifiers = *modifiers;
    const Window root = DefaultRootWindow(display);
    QStringList taken;
    for (int i = 0; i < int(d->keycodes.size()); ++i) {
        const int code = XKeysymToKeycode(display, KeySym(d->keys[i]));
        if (code == 0)
            continue;
        grabFailed = false;
        XErrorHandler previous = XSetErrorHandler(recordGrabError);
        for (unsigned lock : lockVariants)
            XGrabKey(display, code, d->modifiers | lock, root, False, GrabModeAsync, GrabModeAsync);
        XSync(display, False);
        XSetErrorHandler(previous);
        if (grabFailed) {
            for (unsigned lock : lockVariants)
                XUngrabKey(display, code, d->modifiers | lock, root);
            taken << QString::fromLatin1(XKeysymToString(KeySym(d->keys[i])));
            continue;
        }
        d->keycodes[i] = code;
    }
    XSync(display, False);
    // The syncs may have queued events that the socket will not announce again.
    QMetaObject::invokeMethod(this, &QuickBarShortcuts::readEvents, Qt::QueuedConnection);
    if (!taken.isEmpty()) {
        qCInfo(lcDesktop, "%s: %s with %s already taken by another program", qUtf8Printable(d->what),
               qUtf8Printable(text), qUtf8Printable(taken.join(QStringLiteral(", "))));
        return false;
    }
    return true;
}

void QuickBarShortcuts::readEvents() {
    Display *display = d->display.get();
    if (!display)
        return;
    while (XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type != KeyPress)
            continue;
        for (int i = 0; i < int(d->keycodes.size()); ++i) {
            if (d->keycodes[i] != 0 && unsigned(d->keycodes[i]) == event.xkey.keycode)
                Q_EMIT pressed(i);
        }
    }
}
