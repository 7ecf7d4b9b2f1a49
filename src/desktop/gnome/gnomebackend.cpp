#include "desktop/gnome/gnomebackend.h"

#include "desktop/clipboardrequests.h"
#include "desktop/gnome/remotedesktopportal.h"
#include "desktop/gnome/shellwindows.h"
#include "desktop/wayland/applicationicon.h"
#include "desktop/x11/x11backend.h"
#include "model/settings.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QPointer>
#include <QThread>
#include <atomic>

namespace {

// Window ids given out for the shell's native Wayland windows: the shell's own id with this bit,
// so that they never meet an X11 window id (XWayland windows keep their X11 id).
constexpr quint64 shellTag = quint64(1) << 62;

// evdev codes: the same physical keys under every layout.
constexpr int leftControlCode = 29, leftShiftCode = 42, keypadEnterCode = 96, leftCode = 105,
              insertCode = 110;
// The letter goes as a keysym: the shell finds the key that carries it in the user's layout, as a
// shortcut expects (Dvorak's V is not on the key QWERTY's V is on). A layout without a latin v
// types nothing, and the send then finds the piece not pasted.
constexpr int vKeysym = 0x76;

// The shell toolkit's modifier bits that change what a key does: Shift, Control, Alt (Mod1),
// Mod3, Super (Mod4), AltGr (Mod5), and the virtual Super, Hyper, Meta. Caps and Num Lock do not.
constexpr quint32 heldModifiers = (1u << 0) | (1u << 2) | (1u << 3) | (1u << 5) | (1u << 6) | (1u << 7) |
                                  (1u << 26) | (1u << 27) | (1u << 28);

std::atomic<int> connections{0};

} // namespace

struct GnomeBackend::Impl {
    QString connectionName;
    QDBusConnection connection{QString()};
    QThread thread;
    ShellWindows *shell = nullptr;
    RemoteDesktopPortal *portal = nullptr;
    bool extension = false;
    // This program's windows and the clipboard's data types, on XWayland.
    std::unique_ptr<X11Backend> xwayland;

    static quint64 windowOf(const ShellWindows::Window &w) {
        return w.x11Window ? w.x11Window : (w.id | shellTag);
    }

    static bool matches(quint64 window, const ShellWindows::Window &w) {
        if (w.id == 0 || window == 0)
            return false;
        return (window & shellTag) ? w.id == (window & ~shellTag) : w.x11Window == window;
    }

    static RunningApplication describe(const ShellWindows::Window &w) {
        RunningApplication app;
        app.window = windowOf(w);
        if (!w.appId.isEmpty())
            app.appId = w.appId;
        app.pid = w.pid;
        app.title = w.title.isEmpty() ? w.appId : w.title;
        return app;
    }

    std::optional<ShellWindows::Window> find(quint64 window) const {
        const auto windows = shell->list();
        if (windows)
            for (const ShellWindows::Window &w : *windows)
                if (matches(window, w))
                    return w;
        return std::nullopt;
    }

    Focus focusOf(quint64 window, const ShellWindows::Window &front) const {
        if (matches(window, front))
            return Focus::Target;
        if (!find(window))
            return Focus::Gone;
        if (front.id == 0)
            return Focus::Nowhere;
        return front.pid == qint32(QCoreApplication::applicationPid()) ? Focus::Own : Focus::Elsewhere;
    }

    bool press(Key key, bool pressed) const {
        switch (key) {
        case Key::V:
            return portal->keysym(vKeysym, pressed);
        case Key::Enter:
            return portal->keycode(keypadEnterCode, pressed);
        case Key::Left:
            return portal->keycode(leftCode, pressed);
        case Key::Insert:
            return portal->keycode(insertCode, pressed);
        }
        return false;
    }

    // Modifiers down, the key down and up, modifiers up; whatever went down comes up again even
    // when a call fails on the way.
    bool type(Stroke stroke) const {
        QList<int> held;
        bool ok = true;
        for (const auto &[wanted, code] :
             {std::pair{stroke.control, leftControlCode}, {stroke.shift, leftShiftCode}})
            if (wanted && ok) {
                ok = portal->keycode(code, true);
                if (ok)
                    held.prepend(code);
            }
        if (ok && (ok = press(stroke.key, true)))
            ok = press(stroke.key, false);
        for (int code : held)
            ok = portal->keycode(code, false) && ok;
        return ok;
    }
};

bool GnomeBackend::isGnome(const QProcessEnvironment &environment) {
    // A list such as "ubuntu:GNOME" or "GNOME-Classic:GNOME".
    const QStringList desktops =
        environment.value(QStringLiteral("XDG_CURRENT_DESKTOP")).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    return desktops.contains(QStringLiteral("GNOME"), Qt::CaseInsensitive);
}

GnomeBackend::GnomeBackend(Settings &settings) : d(std::make_unique<Impl>()) {
    // A connection of our own: its unique name is the sender the portal's requests are named after.
    d->connectionName = QStringLiteral("quillora-gnome-%1").arg(++connections);
    d->connection = QDBusConnection::connectToBus(QDBusConnection::SessionBus, d->connectionName);
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        d->xwayland = std::make_unique<X11Backend>();
    if (!d->connection.isConnected())
        return;
    d->shell = new ShellWindows(d->connection);
    const auto front = d->shell->focused();
    d->extension = front.has_value();
    if (!d->extension)
        return;
    // The portal thread hands a new token over; the settings are written on their own thread.
    QPointer<Settings> keeper(&settings);
    d->portal =
        new RemoteDesktopPortal(d->connection, settings.restoreToken(), [keeper](const QString &token) {
            if (keeper)
                QMetaObject::invokeMethod(keeper, [keeper, token] {
                    if (keeper)
                        keeper->setRestoreToken(token);
                });
        });
    d->shell->moveToThread(&d->thread);
    d->portal->moveToThread(&d->thread);
    d->shell->watch(front->window);
    d->thread.start();
    QMetaObject::invokeMethod(d->portal, &RemoteDesktopPortal::open, Qt::QueuedConnection);
}

GnomeBackend::~GnomeBackend() {
    d->thread.quit();
    d->thread.wait();
    delete d->portal;
    delete d->shell;
    d->connection = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(d->connectionName);
}

bool GnomeBackend::available() const {
    return d->extension;
}

bool GnomeBackend::canType() const {
    return d->portal && d->portal->state() == RemoteDesktopPortal::State::Ready;
}

std::optional<RunningApplication> GnomeBackend::activeApplication() {
    // Kept by the focus signal: the tracker asks after each change.
    if (!d->extension)
        return std::nullopt;
    const ShellWindows::Window front = d->shell->front();
    if (front.id == 0)
        return std::nullopt;
    return Impl::describe(front);
}

QList<RunningApplication> GnomeBackend::runningApplications() {
    QList<RunningApplication> result;
    if (!d->extension)
        return result;
    if (const auto windows = d->shell->list())
        for (const ShellWindows::Window &w : *windows)
            result.append(Impl::describe(w));
    return result;
}

bool GnomeBackend::activate(const RunningApplication &application) {
    if (!d->extension)
        return false;
    const auto w = d->find(application.window);
    return w && d->shell->activate(w->id);
}

QImage GnomeBackend::icon(quint64 window) {
    // XWayland windows carry theirs; native ones name their application, whose desktop entry has one.
    if (!(window & shellTag))
        return d->xwayland ? d->xwayland->icon(window) : QImage();
    if (!d->extension)
        return {};
    const auto w = d->find(window);
    return w ? ApplicationIcon::forApplication(w->appId) : QImage();
}

bool GnomeBackend::modifiersHeld() {
    if (!d->extension)
        return false;
    const auto front = d->shell->focused();
    return front && (front->modifiers & heldModifiers);
}

bool GnomeBackend::keyStroke(Key key, bool control) {
    // Into whatever has the focus: no waiting for a portal session that is not up yet.
    return canType() && d->type({key, control, false});
}

DesktopBackend::Focus GnomeBackend::focus(quint64 window) {
    if (!d->extension)
        return Focus::Gone;
    const auto front = d->shell->focused();
    return front ? d->focusOf(window, front->window) : Focus::Gone;
}

DesktopBackend::StrokeResult GnomeBackend::strokeInto(quint64 window, Stroke stroke) {
    // Never typed blind: without the portal's session nothing is typed at all.
    if (!d->extension || !d->portal->waitReady(portalWaitMs))
        return StrokeResult::Failed;
    const auto front = d->shell->focused();
    if (!front)
        return StrokeResult::Failed;
    const Focus now = d->focusOf(window, front->window);
    if (now == Focus::Gone)
        return StrokeResult::Failed;
    if (now != Focus::Target)
        return StrokeResult::NotFocused;
    if (front->modifiers & heldModifiers)
        return StrokeResult::ModifiersHeld;
    // The shell may still move the focus between its answer and the keys: the portal gives them
    // to whichever window holds the focus when they arrive, and nothing on GNOME ties a key to a
    // window. The gap is one round trip to the portal.
    return d->type(stroke) ? StrokeResult::Typed : StrokeResult::Failed;
}

bool GnomeBackend::sameClient(quint64 a, quint64 b) {
    if (a == b)
        return true;
    if ((a & shellTag) || (b & shellTag))
        return true;
    return d->xwayland && d->xwayland->sameClient(a, b);
}

QString GnomeBackend::typeName(quint32 type) {
    return d->xwayland ? d->xwayland->typeName(type) : QString();
}

bool GnomeBackend::watchFront(std::function<void(FrontChange)> listener) {
    if (!d->extension)
        return false;
    d->shell->setListener(std::move(listener));
    return true;
}

void GnomeBackend::awaitClipboardTaken(const std::atomic<bool> &cancel) {
    if (!d->xwayland)
        return;
    // The journal starts with each new content.
    const QDeadlineTimer deadline(clipboardTakenMs);
    while (!cancel && !deadline.hasExpired()) {
        for (const ClipboardRequests::Request &r : clipboardRequests().all())
            if (d->xwayland->typeName(r.type) == QLatin1String("TARGETS"))
                return;
        QThread::msleep(2);
    }
}
