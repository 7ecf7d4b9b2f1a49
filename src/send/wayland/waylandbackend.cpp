#include "send/wayland/waylandbackend.h"

#include "send/clipboardrequests.h"
#include "send/wayland/applicationicon.h"
#include "send/wayland/virtualkeyboardprotocol.h"
#include "send/wayland/virtualkeymap.h"
#include "send/x11/x11backend.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <csignal>
#include <cstring>
#include <deque>
#include <future>
#include <iostream>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <vector>

#include <wayland-client.h>
#include <wlr-data-control-unstable-v1-client-protocol.h>
#include <wlr-foreign-toplevel-management-unstable-v1-client-protocol.h>

namespace {

// Window ids of the toplevel list start above every X window id, so that the two never meet.
constexpr quint64 firstToplevelId = quint64(1) << 32;

uint32_t nowMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return uint32_t(quint64(now.tv_sec) * 1000 + quint64(now.tv_nsec) / 1000000);
}

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
    struct Toplevel {
        Impl *owner = nullptr;
        quint64 id = 0;
        zwlr_foreign_toplevel_handle_v1 *handle = nullptr;
        QString title, appId;
        bool activated = false, pendingActivated = false, titleChanged = false;
        // Reported in full at least once.
        bool ready = false;
        // Whether this is one of our own XWayland windows, asked of XWayland once per title.
        bool ownKnown = false;
        std::optional<RunningApplication> own;
    };

    wl_display *display = nullptr;
    wl_registry *registry = nullptr;
    wl_seat *seat = nullptr;
    zwlr_foreign_toplevel_manager_v1 *toplevelManager = nullptr;
    zwlr_data_control_manager_v1 *dataControl = nullptr;
    zwlr_data_control_device_v1 *dataDevice = nullptr;
    zwlr_data_control_offer_v1 *selectionOffer = nullptr, *primaryOffer = nullptr;
    wl_proxy *keyboardManager = nullptr, *keyboard = nullptr;
    std::optional<VirtualKeymap> keymap;
    bool connected = false;

    std::vector<std::unique_ptr<Toplevel>> toplevels;
    quint64 nextId = firstToplevelId;
    std::function<void(FrontChange)> frontListener;

    // The clipboard piece we serve (on the clipboard and maybe PRIMARY): its data per type.
    zwlr_data_control_source_v1 *source = nullptr, *primarySource = nullptr;
    QList<std::pair<QByteArray, std::shared_ptr<const QByteArray>>> piece;
    // Data type names by number, for the request journal.
    std::mutex typeMutex;
    QList<QByteArray> typeNames;

    // Every use of the connection happens on this thread; callers hand it tasks.
    std::thread thread;
    std::thread::id threadId;
    int wakeFd = -1;
    std::mutex taskMutex;
    std::deque<std::function<void()>> tasks;
    bool stopping = false;

    // This program's windows, on XWayland.
    std::unique_ptr<X11Backend> xwayland;

    template <typename F> auto run(F work) -> decltype(work()) {
        using Result = decltype(work());
        if (!thread.joinable())
            return Result{};
        if (std::this_thread::get_id() == threadId)
            return work();
        auto task = std::make_shared<std::packaged_task<Result()>>(std::move(work));
        std::future<Result> result = task->get_future();
        {
            std::lock_guard lock(taskMutex);
            // The thread ends with the back-end; a task handed in after that would wait for good.
            if (stopping)
                return Result{};
            tasks.emplace_back([task] { (*task)(); });
        }
        wake();
        return result.get();
    }

    void wake() const {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t n = write(wakeFd, &one, sizeof one);
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
            std::cout << "the Wayland connection was lost: phrases cannot be sent any more" << std::endl;
        connected = false;
    }

    void loop() {
        threadId = std::this_thread::get_id();
        for (;;) {
            std::deque<std::function<void()>> batch;
            {
                std::lock_guard lock(taskMutex);
                batch.swap(tasks);
                if (stopping && batch.empty())
                    return;
            }
            for (auto &task : batch)
                task();
            if (!batch.empty())
                continue;

            pollfd fds[2] = {{wakeFd, POLLIN, 0}, {connected ? wl_display_get_fd(display) : -1, POLLIN, 0}};
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
            if (ready > 0 && (fds[0].revents & POLLIN)) {
                uint64_t count = 0;
                [[maybe_unused]] const ssize_t n = read(wakeFd, &count, sizeof count);
            }
        }
    }

    Toplevel *find(quint64 id) {
        for (auto &t : toplevels)
            if (t->id == id && t->ready)
                return t.get();
        return nullptr;
    }

    Toplevel *front() {
        for (auto &t : toplevels)
            if (t->ready && t->activated)
                return t.get();
        return nullptr;
    }

    // The description of one of this program's XWayland windows when the toplevel is one: same
    // title and class, and our process id, which only XWayland knows.
    std::optional<RunningApplication> ownWindow(Toplevel &t) {
        if (!xwayland || !xwayland->available())
            return std::nullopt;
        if (t.ownKnown)
            return t.own;
        const auto ownPid = qint32(QCoreApplication::applicationPid());
        t.own.reset();
        for (const RunningApplication &app : xwayland->runningApplications())
            if (app.processIdentifier == ownPid && app.localizedName == t.title &&
                (!app.bundleIdentifier || *app.bundleIdentifier == t.appId))
                t.own = app;
        t.ownKnown = true;
        return t.own;
    }

    RunningApplication describe(const Toplevel &t) {
        RunningApplication app;
        app.window = t.id;
        if (!t.appId.isEmpty())
            app.bundleIdentifier = t.appId;
        app.localizedName = t.title.isEmpty() ? t.appId : t.title;
        return app;
    }

    void notifyFront(FrontChange change = FrontChange::Window) {
        if (frontListener)
            frontListener(change);
    }

    // --- toplevel events

    static void onTitle(void *data, zwlr_foreign_toplevel_handle_v1 *, const char *title) {
        auto *t = static_cast<Toplevel *>(data);
        t->title = QString::fromUtf8(title);
        t->titleChanged = true;
        t->ownKnown = false;
    }
    static void onAppId(void *data, zwlr_foreign_toplevel_handle_v1 *, const char *appId) {
        auto *t = static_cast<Toplevel *>(data);
        t->appId = QString::fromUtf8(appId);
        t->ownKnown = false;
    }
    static void onOutputEnter(void *, zwlr_foreign_toplevel_handle_v1 *, wl_output *) {}
    static void onOutputLeave(void *, zwlr_foreign_toplevel_handle_v1 *, wl_output *) {}
    static void onState(void *data, zwlr_foreign_toplevel_handle_v1 *, wl_array *state) {
        auto *t = static_cast<Toplevel *>(data);
        t->pendingActivated = false;
        const auto *states = static_cast<const uint32_t *>(state->data);
        for (size_t i = 0; i < state->size / sizeof(uint32_t); ++i)
            if (states[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED)
                t->pendingActivated = true;
    }
    static void onDone(void *data, zwlr_foreign_toplevel_handle_v1 *) {
        auto *t = static_cast<Toplevel *>(data);
        const bool changed = !t->ready || t->activated != t->pendingActivated;
        t->activated = t->pendingActivated;
        const bool retitled = t->ready && t->titleChanged;
        t->ready = true;
        t->titleChanged = false;
        if (changed && t->activated)
            t->owner->notifyFront();
        else if (retitled && t->activated)
            t->owner->notifyFront(FrontChange::Title);
    }
    static void onClosed(void *data, zwlr_foreign_toplevel_handle_v1 *handle) {
        auto *t = static_cast<Toplevel *>(data);
        Impl *owner = t->owner;
        const bool wasFront = t->activated;
        zwlr_foreign_toplevel_handle_v1_destroy(handle);
        std::erase_if(owner->toplevels, [t](const auto &p) { return p.get() == t; });
        if (wasFront)
            owner->notifyFront();
    }
    static void onParent(void *, zwlr_foreign_toplevel_handle_v1 *, zwlr_foreign_toplevel_handle_v1 *) {}

    static constexpr zwlr_foreign_toplevel_handle_v1_listener toplevelListener{
        onTitle, onAppId, onOutputEnter, onOutputLeave, onState, onDone, onClosed, onParent};

    static void onToplevel(void *data, zwlr_foreign_toplevel_manager_v1 *,
                           zwlr_foreign_toplevel_handle_v1 *handle) {
        auto *self = static_cast<Impl *>(data);
        auto t = std::make_unique<Toplevel>();
        t->owner = self;
        t->id = self->nextId++;
        t->handle = handle;
        zwlr_foreign_toplevel_handle_v1_add_listener(handle, &toplevelListener, t.get());
        self->toplevels.push_back(std::move(t));
    }
    static void onFinished(void *data, zwlr_foreign_toplevel_manager_v1 *) {
        auto *self = static_cast<Impl *>(data);
        zwlr_foreign_toplevel_manager_v1_destroy(self->toplevelManager);
        self->toplevelManager = nullptr;
    }
    static constexpr zwlr_foreign_toplevel_manager_v1_listener managerListener{onToplevel, onFinished};

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
        ClipboardRequests::record(0, self->typeNumber(type));
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

    Focus focusOf(quint64 window) {
        Toplevel *front = this->front();
        Toplevel *target = find(window);
        if (!target && window < firstToplevelId) {
            for (const auto &candidate : toplevels)
                if (candidate->ready)
                    if (auto own = ownWindow(*candidate); own && own->window == window)
                        target = candidate.get();
        }
        if (!target)
            return Focus::Gone;
        if (front == target)
            return Focus::Target;
        if (!front)
            return Focus::Nowhere;
        return ownWindow(*front) ? Focus::Own : Focus::Elsewhere;
    }
    static constexpr zwlr_data_control_source_v1_listener sourceListener{onSend, onCancelled};

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

    static void onGlobal(void *data, wl_registry *registry, uint32_t name, const char *interface,
                         uint32_t version) {
        auto *self = static_cast<Impl *>(data);
        auto bind = [&](const wl_interface *wanted, uint32_t highest) {
            return wl_registry_bind(registry, name, wanted, std::min(version, highest));
        };
        if (!strcmp(interface, wl_seat_interface.name) && !self->seat)
            self->seat = static_cast<wl_seat *>(bind(&wl_seat_interface, 1));
        else if (!strcmp(interface, zwlr_foreign_toplevel_manager_v1_interface.name))
            self->toplevelManager = static_cast<zwlr_foreign_toplevel_manager_v1 *>(
                bind(&zwlr_foreign_toplevel_manager_v1_interface, 3));
        else if (!strcmp(interface, zwlr_data_control_manager_v1_interface.name))
            self->dataControl =
                static_cast<zwlr_data_control_manager_v1 *>(bind(&zwlr_data_control_manager_v1_interface, 2));
        else if (!strcmp(interface, VirtualKeyboardProtocol::managerInterface()->name))
            self->keyboardManager =
                static_cast<wl_proxy *>(bind(VirtualKeyboardProtocol::managerInterface(), 1));
    }
    static void onGlobalRemove(void *, wl_registry *, uint32_t) {}
    static constexpr wl_registry_listener registryListener{onGlobal, onGlobalRemove};

    void connect() {
        display = wl_display_connect(nullptr);
        if (!display) {
            std::cout << "no Wayland display: phrases cannot be sent into other programs" << std::endl;
            return;
        }
        connected = true;
        registry = wl_display_get_registry(display);
        wl_registry_add_listener(registry, &registryListener, this);
        if (!sync())
            return;
        if (toplevelManager)
            zwlr_foreign_toplevel_manager_v1_add_listener(toplevelManager, &managerListener, this);
        if (dataControl && seat) {
            dataDevice = zwlr_data_control_manager_v1_get_data_device(dataControl, seat);
            zwlr_data_control_device_v1_add_listener(dataDevice, &deviceListener, this);
        }
        if (keyboardManager && seat) {
            keymap = VirtualKeymap::compile();
            if (keymap) {
                keyboard = VirtualKeyboardProtocol::createKeyboard(keyboardManager,
                                                                   reinterpret_cast<wl_proxy *>(seat));
                VirtualKeyboardProtocol::keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, keymap->fd(),
                                                keymap->size());
            }
        }
        // The windows that exist now, each followed by its done event.
        if (!sync())
            return;
        // Said once, in the words the agent sees in the log.
        if (!toplevelManager)
            std::cout << "此桌面不提供窗口列表：无法知道哪个窗口在前（缺少 zwlr_foreign_toplevel_manager_v1）"
                      << std::endl;
        if (!dataDevice)
            std::cout << "此桌面不允许在后台设置剪贴板：无法发送内容（缺少 zwlr_data_control_manager_v1）"
                      << std::endl;
        if (!keyboard)
            std::cout << "此桌面不允许模拟按键："
                      << (keyboardManager ? "无法编译键盘布局" : "缺少 zwp_virtual_keyboard_v1") << std::endl;
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
        for (auto &t : toplevels)
            zwlr_foreign_toplevel_handle_v1_destroy(t->handle);
        toplevels.clear();
        if (toplevelManager)
            zwlr_foreign_toplevel_manager_v1_stop(toplevelManager);
        if (keyboard)
            VirtualKeyboardProtocol::destroyKeyboard(keyboard);
        if (keyboardManager)
            VirtualKeyboardProtocol::destroyManager(keyboardManager);
        if (seat)
            wl_seat_destroy(seat);
        if (registry)
            wl_registry_destroy(registry);
        wl_display_flush(display);
        wl_display_disconnect(display);
        display = nullptr;
        connected = false;
    }

    uint32_t code(Key key) const {
        switch (key) {
        case Key::V:
            return keymap->v;
        case Key::Enter:
            return keymap->keypadEnter;
        case Key::Left:
            return keymap->left;
        case Key::Insert:
            return keymap->insert;
        }
        return 0;
    }

    bool type(Stroke stroke) {
        if (!connected || !keyboard)
            return false;
        const uint32_t t = nowMs();
        std::vector<uint32_t> held;
        uint32_t mask = 0;
        if (stroke.control) {
            held.push_back(keymap->control);
            mask |= keymap->controlMask;
        }
        if (stroke.shift) {
            held.push_back(keymap->shift);
            mask |= keymap->shiftMask;
        }
        for (uint32_t k : held)
            VirtualKeyboardProtocol::key(keyboard, t, k, WL_KEYBOARD_KEY_STATE_PRESSED);
        if (mask)
            VirtualKeyboardProtocol::modifiers(keyboard, mask, 0, 0, 0);
        VirtualKeyboardProtocol::key(keyboard, t, code(stroke.key), WL_KEYBOARD_KEY_STATE_PRESSED);
        VirtualKeyboardProtocol::key(keyboard, t, code(stroke.key), WL_KEYBOARD_KEY_STATE_RELEASED);
        for (auto k = held.rbegin(); k != held.rend(); ++k)
            VirtualKeyboardProtocol::key(keyboard, t, *k, WL_KEYBOARD_KEY_STATE_RELEASED);
        if (mask)
            VirtualKeyboardProtocol::modifiers(keyboard, 0, 0, 0, 0);
        return sync();
    }
};

WaylandBackend::WaylandBackend() : d(std::make_unique<Impl>()) {
    d->connect();
    if (!d->connected)
        return;
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        d->xwayland = std::make_unique<X11Backend>();
    d->wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    d->thread = std::thread([this] { d->loop(); });
}

WaylandBackend::~WaylandBackend() {
    if (d->thread.joinable()) {
        {
            std::lock_guard lock(d->taskMutex);
            d->stopping = true;
        }
        d->wake();
        d->thread.join();
    }
    d->disconnect();
    if (d->wakeFd >= 0)
        close(d->wakeFd);
}

bool WaylandBackend::available() const {
    return d->connected && d->toplevelManager;
}

bool WaylandBackend::canType() const {
    return d->connected && d->keyboard;
}

std::optional<RunningApplication> WaylandBackend::activeApplication() {
    return d->run([this]() -> std::optional<RunningApplication> {
        if (!d->sync())
            return std::nullopt;
        Impl::Toplevel *t = d->front();
        if (!t)
            return std::nullopt;
        if (auto own = d->ownWindow(*t))
            return own;
        return d->describe(*t);
    });
}

QList<RunningApplication> WaylandBackend::runningApplications() {
    return d->run([this] {
        QList<RunningApplication> result;
        if (!d->sync())
            return result;
        for (const auto &t : d->toplevels) {
            if (!t->ready)
                continue;
            if (auto own = d->ownWindow(*t))
                result.append(*own);
            else
                result.append(d->describe(*t));
        }
        return result;
    });
}

bool WaylandBackend::activate(const RunningApplication &application) {
    return d->run([this, application] {
        if (!d->sync() || !d->seat)
            return false;
        Impl::Toplevel *t = d->find(application.window);
        if (!t && application.window < firstToplevelId) {
            // One of our own XWayland windows, known by its X id.
            for (const auto &candidate : d->toplevels)
                if (auto own = d->ownWindow(*candidate); own && own->window == application.window)
                    t = candidate.get();
        }
        if (!t)
            return false;
        zwlr_foreign_toplevel_handle_v1_activate(t->handle, d->seat);
        return d->sync();
    });
}

QImage WaylandBackend::icon(quint64 window) {
    // Our own windows have theirs on XWayland; the toplevel list carries none, so the others' come
    // from their application's desktop entry.
    if (window < firstToplevelId)
        return d->xwayland ? d->xwayland->icon(window) : QImage();
    const QString appId = d->run([this, window] {
        const Impl::Toplevel *t = d->find(window);
        return t ? t->appId : QString();
    });
    return ApplicationIcon::forApplication(appId);
}

bool WaylandBackend::modifiersHeld() {
    // Each keyboard of a wlroots seat has its own modifier state, and a target receives the state
    // of the keyboard a key came from: a key the user holds never combines with ours.
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
        if (!d->sync() || !d->keyboard)
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

bool WaylandBackend::watchFront(std::function<void(FrontChange)> listener) {
    return d->run([this, listener = std::move(listener)]() mutable {
        if (!d->connected || !d->toplevelManager)
            return false;
        d->frontListener = std::move(listener);
        return true;
    });
}
