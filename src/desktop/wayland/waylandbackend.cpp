#include "desktop/wayland/waylandbackend.h"

#include "desktop/clipboardrequests.h"
#include "desktop/wayland/applicationicon.h"
#include "desktop/wayland/fakekeyinput.h"
#include "desktop/wayland/plasmawindowlist.h"
#include "desktop/wayland/threadtasks.h"
#include "desktop/wayland/virtualkeyboardinput.h"
#include "desktop/wayland/wlrwindowlist.h"
#include "desktop/x11/x11backend.h"
#include "model/logging.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <csignal>
#include <cstring>
#include <map>
#include <mutex>
#include <poll.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <wayland-client.h>
#include <wlr-data-control-unstable-v1-client-protocol.h>

namespace {

// Writes one piece into the pipe a reading program gave us, then closes it. On a thread of its
// own: a reader that is slow or never reads must not hold up the connection.
void serve(int fd, std::shared_ptr<const QByteArray> data) {
    std::thread([fd, data] {
        // A reader that closed its end early makes write fail instead of ending the process.
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
        qsizetype written = 0;
        while (written < data->size()) {
            const ssize_t n = write(fd, data->constData() + written, size_t(data->size() - written));
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                break;
            written += n;
        }
        close(fd);
    }).detach();
}

} // namespace

struct WaylandBackend::Impl {
    // Whether a window is one of this program's XWayland windows, asked of XWayland once per title.
    struct Own {
        bool known = false;
        std::optional<RunningApplication> app;
    };
    // A global the compositor announced.
    struct Global {
        uint32_t name = 0, version = 0;
    };

    explicit Impl(ClipboardRequests &requests) : clipboardRequests(requests) {}

    // The back-end's journal: each read of a piece we serve is recorded there.
    ClipboardRequests &clipboardRequests;
    wl_display *display = nullptr;
    wl_registry *registry = nullptr;
    wl_seat *seat = nullptr;
    zwlr_data_control_manager_v1 *dataControl = nullptr;
    zwlr_data_control_device_v1 *dataDevice = nullptr;
    zwlr_data_control_offer_v1 *selectionOffer = nullptr, *primaryOffer = nullptr;
    bool connected = false;

    // The window list and the keyboard, each chosen from what the compositor announces.
    std::unique_ptr<WaylandWindowList> windowList;
    std::unique_ptr<WaylandKeyInput> keyInput;
    bool typing = false;
    QString whyNoKeys;
    std::map<std::string, Global> globals;
    std::map<quint64, Own> own;
    std::function<void(FrontChange)> frontListener;

    // The clipboard piece we serve (on the clipboard and maybe PRIMARY): its data per type.
    zwlr_data_control_source_v1 *source = nullptr, *primarySource = nullptr;
    QList<std::pair<QByteArray, std::shared_ptr<const QByteArray>>> piece;
    // Data type names by number, for the request journal.
    std::mutex typeMutex;
    QList<QByteArray> typeNames;

    // Every use of the connection happens on this thread; callers hand it tasks.
    std::thread thread;
    ThreadTasks tasks;

    // This program's windows, on XWayland.
    std::unique_ptr<X11Backend> xwayland;

    template <typename F> auto run(F work) -> decltype(work()) {
        if (!thread.joinable())
            return decltype(work()){};
        return tasks.run(std::move(work));
    }

    // Lets the compositor answer everything asked so far; false when the connection is gone.
    bool sync() {
        if (!connected)
            return false;
        if (wl_display_roundtrip(display) < 0) {
            lost();
            return false;
        }
        return true;
    }

    void lost() {
        if (connected)
            qCInfo(lcDesktop, "the Wayland connection was lost: phrases cannot be sent any more");
        connected = false;
    }

    void loop() {
        tasks.serveHere();
        for (;;) {
            const ThreadTasks::Served served = tasks.runQueued();
            if (served == ThreadTasks::Served::Finished)
                return;
            if (served == ThreadTasks::Served::Some)
                continue;

            pollfd fds[2] = {{tasks.wakeFd(), POLLIN, 0},
                             {connected ? wl_display_get_fd(display) : -1, POLLIN, 0}};
            bool reading = false;
            if (connected) {
                while (wl_display_prepare_read(display) != 0)
                    wl_display_dispatch_pending(display);
                reading = true;
                if (wl_display_flush(display) < 0 && errno != EAGAIN) {
                    wl_display_cancel_read(display);
                    lost();
                    continue;
                }
            }
            const int ready = poll(fds, 2, -1);
            if (reading) {
                if (ready > 0 && (fds[1].revents & POLLIN)) {
                    if (wl_display_read_events(display) < 0)
                        lost();
                } else {
                    wl_display_cancel_read(display);
                    if (ready > 0 && (fds[1].revents & (POLLERR | POLLHUP)))
                        lost();
                }
                if (connected && wl_display_dispatch_pending(display) < 0)
                    lost();
            }
            if (ready > 0 && (fds[0].revents & POLLIN))
                tasks.clearWake();
        }
    }

    QList<WaylandWindowList::Window> windows() const {
        return windowList ? windowList->windows() : QList<WaylandWindowList::Window>();
    }

    std::optional<WaylandWindowList::Window> find(quint64 id) const {
        for (const auto &w : windows())
            if (w.id == id)
                return w;
        return std::nullopt;
    }

    std::optional<WaylandWindowList::Window> front() const {
        for (const auto &w : windows())
            if (w.activated)
                return w;
        return std::nullopt;
    }

    // The description of one of this program's XWayland windows when the window is one: same
    // title and class, and our process id, which only XWayland knows where the list names none.
    std::optional<RunningApplication> ownWindow(const WaylandWindowList::Window &w) {
        const auto ownPid = qint32(QCoreApplication::applicationPid());
        if (w.pid != 0 && w.pid != ownPid)
            return std::nullopt;
        if (!xwayland || !xwayland->available())
            return std::nullopt;
        Own &cached = own[w.id];
        if (cached.known)
            return cached.app;
        cached.app.reset();
        for (const RunningApplication &app : xwayland->runningApplications())
            if (app.pid == ownPid && app.title == w.title && (!app.appId || *app.appId == w.appId))
                cached.app = app;
        cached.known = true;
        return cached.app;
    }

    // The window itself, or the one behind one of our XWayland windows known by its X id.
    std::optional<WaylandWindowList::Window> resolve(quint64 window) {
        if (auto w = find(window))
            return w;
        if (window >= WaylandWindowList::firstId)
            return std::nullopt;
        for (const auto &candidate : windows())
            if (auto app = ownWindow(candidate); app && app->window == window)
                return candidate;
        return std::nullopt;
    }

    static RunningApplication describe(const WaylandWindowList::Window &w) {
        RunningApplication app;
        app.window = w.id;
        if (!w.appId.isEmpty())
            app.appId = w.appId;
        app.title = w.title.isEmpty() ? w.appId : w.title;
        app.pid = w.pid;
        return app;
    }

    RunningApplication describeOrOwn(const WaylandWindowList::Window &w) {
        if (auto app = ownWindow(w))
            return *app;
        return describe(w);
    }

    Focus focusOf(quint64 window) {
        const auto target = resolve(window);
        if (!target)
            return Focus::Gone;
        const auto front = this->front();
        if (front && front->id == target->id)
            return Focus::Target;
        if (!front)
            return Focus::Nowhere;
        return front->pid == qint32(QCoreApplication::applicationPid()) || ownWindow(*front)
                   ? Focus::Own
                   : Focus::Elsewhere;
    }

    // --- clipboard events

    quint32 typeNumber(const QByteArray &name) {
        std::lock_guard lock(typeMutex);
        qsizetype index = typeNames.indexOf(name);
        if (index < 0) {
            index = typeNames.size();
            typeNames.append(name);
        }
        return quint32(index + 1);
    }

    static void onSend(void *data, zwlr_data_control_source_v1 *source, const char *type, int32_t fd) {
        auto *self = static_cast<Impl *>(data);
        if (source != self->source && source != self->primarySource) {
            close(fd);
            return;
        }
        self->clipboardRequests.record(0, self->typeNumber(type));
        for (const auto &[name, bytes] : self->piece) {
            if (name == type) {
                serve(fd, bytes);
                return;
            }
        }
        close(fd);
    }
    static void onCancelled(void *data, zwlr_data_control_source_v1 *source) {
        auto *self = static_cast<Impl *>(data);
        if (source == self->source)
            self->source = nullptr;
        if (source == self->primarySource)
            self->primarySource = nullptr;
        zwlr_data_control_source_v1_destroy(source);
    }
    static constexpr zwlr_data_control_source_v1_listener sourceListener{onSend, onCancelled};

    zwlr_data_control_source_v1 *newSource() {
        zwlr_data_control_source_v1 *made = zwlr_data_control_manager_v1_create_data_source(dataControl);
        for (const auto &entry : piece)
            zwlr_data_control_source_v1_offer(made, entry.first.constData());
        zwlr_data_control_source_v1_add_listener(made, &sourceListener, this);
        return made;
    }

    // PRIMARY needs version 2 of the protocol.
    bool hasPrimary() const {
        return dataDevice && wl_proxy_get_version(reinterpret_cast<wl_proxy *>(dataDevice)) >= 2;
    }

    // Offers of other programs' clipboard content: we never read them, only let go of them.
    static void onDataOffer(void *, zwlr_data_control_device_v1 *, zwlr_data_control_offer_v1 *) {}
    static void replaceOffer(zwlr_data_control_offer_v1 *&slot, zwlr_data_control_offer_v1 *offer) {
        if (slot)
            zwlr_data_control_offer_v1_destroy(slot);
        slot = offer;
    }
    static void onSelection(void *data, zwlr_data_control_device_v1 *, zwlr_data_control_offer_v1 *offer) {
        replaceOffer(static_cast<Impl *>(data)->selectionOffer, offer);
    }
    static void onPrimarySelection(void *data, zwlr_data_control_device_v1 *,
                                   zwlr_data_control_offer_v1 *offer) {
        replaceOffer(static_cast<Impl *>(data)->primaryOffer, offer);
    }
    static void onDeviceFinished(void *data, zwlr_data_control_device_v1 *device) {
        auto *self = static_cast<Impl *>(data);
        zwlr_data_control_device_v1_destroy(device);
        self->dataDevice = nullptr;
    }
    static constexpr zwlr_data_control_device_v1_listener deviceListener{
        onDataOffer, onSelection, onDeviceFinished, onPrimarySelection};

    // --- globals

    static void onGlobal(void *data, wl_registry *, uint32_t name, const char *interface, uint32_t version) {
        auto *self = static_cast<Impl *>(data);
        self->globals.try_emplace(interface, Global{name, version});
    }
    static void onGlobalRemove(void *, wl_registry *, uint32_t) {}
    static constexpr wl_registry_listener registryListener{onGlobal, onGlobalRemove};

    const Global *announced(const char *interface) const {
        const auto it = globals.find(interface);
        return it == globals.end() ? nullptr : &it->second;
    }

    // The first of the candidates whose global the compositor announced, bound.
    template <typename Part> std::unique_ptr<Part> choose(std::vector<std::unique_ptr<Part>> candidates) {
        for (auto &candidate : candidates) {
            if (const Global *g = announced(candidate->interfaceName())) {
                candidate->bind(registry, g->name, g->version);
                return std::move(candidate);
            }
        }
        return nullptr;
    }

    void connect() {
        display = wl_display_connect(nullptr);
        if (!display) {
            qCInfo(lcDesktop, "no Wayland display: phrases cannot be sent into other programs");
            return;
        }
        connected = true;
        registry = wl_display_get_registry(display);
        wl_registry_add_listener(registry, &registryListener, this);
        if (!sync())
            return;
        if (const Global *g = announced(wl_seat_interface.name))
            seat = static_cast<wl_seat *>(wl_registry_bind(registry, g->name, &wl_seat_interface, 1));
        if (const Global *g = announced(zwlr_data_control_manager_v1_interface.name))
            dataControl = static_cast<zwlr_data_control_manager_v1 *>(wl_registry_bind(
                registry, g->name, &zwlr_data_control_manager_v1_interface, std::min(g->version, 2u)));
        // KDE's list names each window's process, which tells our own windows apart for sure.
        std::vector<std::unique_ptr<WaylandWindowList>> lists;
        lists.push_back(std::make_unique<PlasmaWindowList>());
        lists.push_back(std::make_unique<WlrWindowList>());
        windowList = choose(std::move(lists));
        // The virtual keyboard brings its own keymap, so it types V whatever the user's layout.
        std::vector<std::unique_ptr<WaylandKeyInput>> inputs;
        inputs.push_back(std::make_unique<VirtualKeyboardInput>());
        inputs.push_back(std::make_unique<FakeKeyInput>());
        keyInput = choose(std::move(inputs));

        if (windowList) {
            windowList->setFrontListener([this] {
                if (frontListener)
                    frontListener(FrontChange::Window);
            });
            windowList->setChangeListener([this](quint64 id) {
                own.erase(id);
                const auto shown = front();
                if (frontListener && shown && shown->id == id)
                    frontListener(FrontChange::Title);
            });
            windowList->start();
        }
        if (dataControl && seat) {
            dataDevice = zwlr_data_control_manager_v1_get_data_device(dataControl, seat);
            zwlr_data_control_device_v1_add_listener(dataDevice, &deviceListener, this);
        }
        whyNoKeys = keyInput ? keyInput->start(seat)
                             : QStringLiteral("缺少 zwp_virtual_keyboard_v1 和 org_kde_kwin_fake_input");
        typing = whyNoKeys.isEmpty();
        // The windows that exist now, each described in full; a list announced by name needs a
        // second round trip for the descriptions.
        if (sync())
            sync();
    }

    void disconnect() {
        if (!display)
            return;
        for (auto *made : {source, primarySource})
            if (made)
                zwlr_data_control_source_v1_destroy(made);
        replaceOffer(selectionOffer, nullptr);
        replaceOffer(primaryOffer, nullptr);
        if (dataDevice)
            zwlr_data_control_device_v1_destroy(dataDevice);
        if (dataControl)
            zwlr_data_control_manager_v1_destroy(dataControl);
        if (windowList)
            windowList->stop();
        if (keyInput)
            keyInput->stop();
        if (seat)
            wl_seat_destroy(seat);
        if (registry)
            wl_registry_destroy(registry);
        wl_display_flush(display);
        wl_display_disconnect(display);
        display = nullptr;
        connected = false;
    }

    bool type(Stroke stroke) {
        if (!connected || !typing)
            return false;
        keyInput->type(stroke);
        return sync();
    }
};

void WaylandBackend::sayWhatIsMissing() const {
    if (!d->connected)
        return;
    // In the words the agent sees in the log.
    if (!d->windowList)
        qCInfo(lcDesktop,
               "此桌面不提供窗口列表：无法知道哪个窗口在前（缺少 zwlr_foreign_toplevel_manager_v1 和 "
               "org_kde_plasma_window_management）");
    if (!d->dataDevice)
        qCInfo(lcDesktop, "此桌面不允许在后台设置剪贴板：无法发送内容（缺少 zwlr_data_control_manager_v1）");
    if (!d->typing)
        qCInfo(lcDesktop, "此桌面不允许模拟按键：%s", qUtf8Printable(d->whyNoKeys));
}

WaylandBackend::WaylandBackend() : d(std::make_unique<Impl>(clipboardRequests())) {
    d->connect();
    if (!d->connected)
        return;
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        d->xwayland = std::make_unique<X11Backend>();
    d->thread = std::thread([this] { d->loop(); });
}

WaylandBackend::~WaylandBackend() {
    if (d->thread.joinable()) {
        d->tasks.stop();
        d->thread.join();
    }
    d->disconnect();
}

bool WaylandBackend::available() const {
    return d->connected && d->windowList && d->windowList->bound();
}

bool WaylandBackend::canType() const {
    return d->connected && d->typing;
}

QString WaylandBackend::windowProtocol() const {
    return d->windowList ? QString::fromLatin1(d->windowList->interfaceName()) : QString();
}

QString WaylandBackend::keyProtocol() const {
    return d->typing ? QString::fromLatin1(d->keyInput->interfaceName()) : QString();
}

std::optional<RunningApplication> WaylandBackend::activeApplication() {
    return d->run([this]() -> std::optional<RunningApplication> {
        if (!d->sync())
            return std::nullopt;
        const auto front = d->front();
        if (!front)
            return std::nullopt;
        return d->describeOrOwn(*front);
    });
}

QList<RunningApplication> WaylandBackend::runningApplications() {
    return d->run([this] {
        QList<RunningApplication> result;
        if (!d->sync())
            return result;
        for (const auto &w : d->windows())
            result.append(d->describeOrOwn(w));
        return result;
    });
}

bool WaylandBackend::activate(const RunningApplication &application) {
    return d->run([this, application] {
        if (!d->sync() || !d->windowList)
            return false;
        const auto w = d->resolve(application.window);
        return w && d->windowList->activate(w->id, d->seat) && d->sync();
    });
}

QImage WaylandBackend::icon(quint64 window) {
    // Our own windows have theirs on XWayland; the window lists carry none, so the others' come
    // from their application's desktop entry, or the theme's icon the compositor names.
    if (window < WaylandWindowList::firstId)
        return d->xwayland ? d->xwayland->icon(window) : QImage();
    const auto w = d->run([this, window] { return d->find(window); });
    return w ? ApplicationIcon::forApplication(w->appId, w->iconName) : QImage();
}

bool WaylandBackend::modifiersHeld() {
    // Each keyboard of a wlroots seat has its own modifier state, and a target receives the state
    // of the keyboard a key came from: a key the user holds never combines with ours. KWin merges
    // them but tells no other program what is held.
    return false;
}

bool WaylandBackend::keyStroke(Key key, bool control) {
    return d->run([this, key, control] { return d->type({key, control, false}); });
}

DesktopBackend::Focus WaylandBackend::focus(quint64 window) {
    return d->run([this, window] { return d->sync() ? d->focusOf(window) : Focus::Gone; });
}

DesktopBackend::StrokeResult WaylandBackend::strokeInto(quint64 window, Stroke stroke) {
    return d->run([this, window, stroke] {
        if (!d->sync() || !d->typing)
            return StrokeResult::Failed;
        const Focus now = d->focusOf(window);
        if (now == Focus::Gone)
            return StrokeResult::Failed;
        if (now != Focus::Target)
            return StrokeResult::NotFocused;
        return d->type(stroke) ? StrokeResult::Typed : StrokeResult::Failed;
    });
}

bool WaylandBackend::sameClient(quint64 a, quint64 b) {
    return a == 0 || b == 0 || a == b;
}

QString WaylandBackend::typeName(quint32 type) {
    std::lock_guard lock(d->typeMutex);
    return type >= 1 && type <= quint32(d->typeNames.size()) ? QString::fromLatin1(d->typeNames[type - 1])
                                                             : QString();
}

bool WaylandBackend::servesClipboard() const {
    return d->connected && d->dataDevice;
}

bool WaylandBackend::setClipboard(const QList<std::pair<QByteArray, QByteArray>> &typesAndData,
                                  bool alsoPrimary) {
    return d->run([this, typesAndData, alsoPrimary] {
        if (!d->connected || !d->dataDevice || typesAndData.isEmpty())
            return false;
        d->piece.clear();
        for (const auto &[type, bytes] : typesAndData)
            d->piece.append({type, std::make_shared<const QByteArray>(bytes)});
        for (auto *old : {d->source, d->primarySource})
            if (old)
                zwlr_data_control_source_v1_destroy(old);
        d->primarySource = nullptr;
        d->source = d->newSource();
        zwlr_data_control_device_v1_set_selection(d->dataDevice, d->source);
        if (alsoPrimary && d->hasPrimary()) {
            d->primarySource = d->newSource();
            zwlr_data_control_device_v1_set_primary_selection(d->dataDevice, d->primarySource);
        }
        // Ours once the compositor has taken it; a cancel during the round trip clears source.
        const auto *made = d->source;
        return d->sync() && d->source == made;
    });
}

bool WaylandBackend::ownsClipboard() {
    // A source the compositor replaced is cancelled, and the cancel arrives before the sync's end.
    return d->run([this] { return d->connected && d->sync() && d->source != nullptr; });
}

bool WaylandBackend::watchFront(std::function<void(FrontChange)> listener) {
    return d->run([this, listener = std::move(listener)]() mutable {
        if (!d->connected || !d->windowList)
            return false;
        d->frontListener = std::move(listener);
        return true;
    });
}
