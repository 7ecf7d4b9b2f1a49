#include "plasmastandin.h"
#include "desktop/wayland/threadtasks.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QDir>
#include <QThread>
#include <QUuid>
#include <atomic>
#include <fcntl.h>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <fake-input-server-protocol.h>
#include <plasma-window-management-server-protocol.h>
#include <wayland-server.h>
#include <wlr-data-control-unstable-v1-server-protocol.h>
#include <xkbcommon/xkbcommon.h>

namespace {

// KWin's flags for an ordinary window besides "active": closeable, minimizable, maximizable,
// fullscreenable, movable, resizable, virtual_desktop_changeable.
constexpr uint32_t ordinaryFlags = 233216;

} // namespace

struct PlasmaStandIn::State {
    struct Window {
        State *owner = nullptr;
        int number = 0;
        QString uuid, appId, title;
        quint32 pid = 0;
        std::vector<wl_resource *> resources;
    };
    struct Source {
        wl_resource *resource = nullptr;
        QStringList types;
    };
    // KWin's keyboard layout service, as far as a program asks it: which layout is active.
    struct LayoutService : QDBusVirtualObject {
        explicit LayoutService(State *state) : state(state) {}
        QString introspect(const QString &) const override { return {}; }
        bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override {
            if (message.member() != QLatin1String("getLayout"))
                return false;
            connection.send(message.createReply(QVariant::fromValue(uint(state->layout.load()))));
            return true;
        }
        State *state;
    };
    struct KeymapFree {
        void operator()(xkb_keymap *keymap) const { xkb_keymap_unref(keymap); }
    };

    Offers offers;
    QTemporaryDir runtime;
    QString socketName;
    wl_display *display = nullptr;
    wl_event_loop *loop = nullptr;
    std::thread thread;
    ThreadTasks tasks;

    std::vector<std::unique_ptr<Window>> windows;
    int nextNumber = 1;
    int active = 0;
    std::vector<wl_resource *> managers, devices;
    std::map<wl_resource *, std::unique_ptr<Source>> sources;
    Source *selection = nullptr;
    std::set<uint32_t> held;
    std::vector<wl_resource *> keyboards;
    QByteArray keymapText;
    std::unique_ptr<xkb_keymap, KeymapFree> keymap;
    std::atomic<uint32_t> layout = 0;
    QString busName;
    bool layoutsOnBus = false;
    LayoutService layoutService{this};
    // Answers on the bus come from a thread of their own, as from KWin's process: a caller may hold
    // up the test's main thread while it waits for one.
    QThread busThread;

    mutable std::mutex logMutex;
    QStringList landed, keys;
    QString authentication;
    int unauthenticated = 0, other = 0;
    std::vector<std::thread> readers;

    template <typename F> auto run(F work) -> decltype(work()) { return tasks.run(std::move(work)); }

    void serve() {
        tasks.serveHere();
        while (tasks.runQueued() != ThreadTasks::Served::Finished) {
            wl_display_flush_clients(display);
            wl_event_loop_dispatch(loop, -1);
            wl_display_flush_clients(display);
        }
    }

    Window *window(int number) {
        for (auto &w : windows)
            if (w->number == number)
                return w.get();
        return nullptr;
    }

    static State *of(wl_resource *resource) {
        return static_cast<State *>(wl_resource_get_user_data(resource));
    }

    // --- window management

    void describe(Window &w, wl_resource *r) {
        org_kde_plasma_window_send_virtual_desktop_entered(r, "b311cb9f-9194-4565-aa3b-f004b3d6ab78");
        org_kde_plasma_window_send_app_id_changed(r, w.appId.toUtf8().constData());
        org_kde_plasma_window_send_pid_changed(r, w.pid);
        org_kde_plasma_window_send_title_changed(r, w.title.toUtf8().constData());
        org_kde_plasma_window_send_state_changed(r, stateOf(w));
        org_kde_plasma_window_send_parent_window(r, nullptr);
        org_kde_plasma_window_send_geometry(r, 460, 360, 360, 80);
        org_kde_plasma_window_send_initial_state(r);
        org_kde_plasma_window_send_resource_name_changed(r, "pastetarget");
    }

    uint32_t stateOf(const Window &w) const {
        return ordinaryFlags | (w.number == active ? ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE : 0);
    }

    void announce(wl_resource *manager, const Window &w) {
        org_kde_plasma_window_management_send_window_with_uuid(manager, uint32_t(w.number),
                                                               w.uuid.toUtf8().constData());
    }

    void stackingOrder(wl_resource *manager) {
        wl_array ids;
        wl_array_init(&ids);
        QStringList uuids;
        for (const auto &w : windows) {
            *static_cast<uint32_t *>(wl_array_add(&ids, sizeof(uint32_t))) = uint32_t(w->number);
            uuids.append(w->uuid);
        }
        org_kde_plasma_window_management_send_stacking_order_changed(manager, &ids);
        org_kde_plasma_window_management_send_stacking_order_uuid_changed(
            manager, uuids.join(QLatin1Char(';')).toUtf8().constData());
        wl_array_release(&ids);
    }

    void setActive(int number) {
        const int before = active;
        active = number;
        for (int changed : {before, number})
            if (Window *w = window(changed); w && before != number)
                for (wl_resource *r : w->resources)
                    org_kde_plasma_window_send_state_changed(r, stateOf(*w));
    }

    static void windowSetState(wl_client *, wl_resource *resource, uint32_t flags, uint32_t state) {
        auto *w = static_cast<Window *>(wl_resource_get_user_data(resource));
        State *self = w ? w->owner : nullptr;
        if (self && (flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE) &&
            (state & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE))
            self->setActive(w->number);
    }
    static void windowDestroy(wl_client *, wl_resource *resource) { wl_resource_destroy(resource); }
    // Requests a keyboard tool never makes are taken and ignored.
    template <typename... Args> static void ignore(wl_client *, wl_resource *, Args...) {}
    static void getIcon(wl_client *, wl_resource *, int32_t fd) { close(fd); }
    static constexpr struct org_kde_plasma_window_interface windowImplementation {
        windowSetState, ignore<uint32_t>, ignore<wl_resource *, uint32_t, uint32_t, uint32_t, uint32_t>,
            ignore<wl_resource *>, ignore<>, ignore<>, ignore<>, windowDestroy, getIcon, ignore<const char *>,
            ignore<>, ignore<const char *>, ignore<const char *>, ignore<const char *>, ignore<wl_resource *>
    };

    static void windowGone(wl_resource *resource) {
        auto *w = static_cast<Window *>(wl_resource_get_user_data(resource));
        if (w)
            std::erase(w->resources, resource);
    }

    void attach(wl_client *client, wl_resource *manager, uint32_t id, Window *w) {
        wl_resource *r = wl_resource_create(client, &org_kde_plasma_window_interface,
                                            wl_resource_get_version(manager), id);
        wl_resource_set_implementation(r, &windowImplementation, w, w ? windowGone : nullptr);
        if (!w) {
            // KWin answers an unknown window with an object that is gone at once.
            org_kde_plasma_window_send_unmapped(r);
            return;
        }
        w->resources.push_back(r);
        describe(*w, r);
    }

    static void showDesktop(wl_client *, wl_resource *, uint32_t) {}
    static void getWindow(wl_client *client, wl_resource *manager, uint32_t id, uint32_t number) {
        State *self = of(manager);
        self->attach(client, manager, id, self->window(int(number)));
    }
    static void getWindowByUuid(wl_client *client, wl_resource *manager, uint32_t id, const char *uuid) {
        State *self = of(manager);
        Window *found = nullptr;
        for (auto &w : self->windows)
            if (w->uuid == QLatin1String(uuid))
                found = w.get();
        self->attach(client, manager, id, found);
    }
    static constexpr struct org_kde_plasma_window_management_interface managerImplementation {
        showDesktop, getWindow, getWindowByUuid
    };

    static void managerGone(wl_resource *resource) { std::erase(of(resource)->managers, resource); }
    static void bindManager(wl_client *client, void *data, uint32_t version, uint32_t id) {
        auto *self = static_cast<State *>(data);
        wl_resource *r =
            wl_resource_create(client, &org_kde_plasma_window_management_interface, int(version), id);
        wl_resource_set_implementation(r, &managerImplementation, self, managerGone);
        self->managers.push_back(r);
        for (const auto &w : self->windows)
            self->announce(r, *w);
        self->stackingOrder(r);
    }

    // --- fake input

    static void authenticate(wl_client *, wl_resource *r, const char *application, const char *reason) {
        State *self = of(r);
        std::lock_guard lock(self->logMutex);
        self->authentication =
            QString::fromUtf8(application) + QStringLiteral(": ") + QString::fromUtf8(reason);
    }
    static void pointerMotion(wl_client *, wl_resource *r, wl_fixed_t, wl_fixed_t) { of(r)->countOther(); }
    static void button(wl_client *, wl_resource *r, uint32_t, uint32_t) { of(r)->countOther(); }
    static void axis(wl_client *, wl_resource *r, uint32_t, wl_fixed_t) { of(r)->countOther(); }
    static void touchDown(wl_client *, wl_resource *r, uint32_t, wl_fixed_t, wl_fixed_t) {
        of(r)->countOther();
    }
    static void touchMotion(wl_client *, wl_resource *r, uint32_t, wl_fixed_t, wl_fixed_t) {
        of(r)->countOther();
    }
    static void touchUp(wl_client *, wl_resource *r, uint32_t) { of(r)->countOther(); }
    static void touchCancel(wl_client *, wl_resource *r) { of(r)->countOther(); }
    static void touchFrame(wl_client *, wl_resource *r) { of(r)->countOther(); }
    static void pointerAbsolute(wl_client *, wl_resource *r, wl_fixed_t, wl_fixed_t) { of(r)->countOther(); }
    static void keyboardKey(wl_client *, wl_resource *r, uint32_t code, uint32_t state) {
        of(r)->key(code, state);
    }
    static constexpr struct org_kde_kwin_fake_input_interface fakeInputImplementation {
        authenticate, pointerMotion, button, axis, touchDown, touchMotion, touchUp, touchCancel, touchFrame,
            pointerAbsolute, keyboardKey
    };

    void countOther() {
        std::lock_guard lock(logMutex);
        ++other;
    }

    void key(uint32_t code, uint32_t state) {
        {
            std::lock_guard lock(logMutex);
            if (authentication.isEmpty()) {
                ++unauthenticated;
                return;
            }
            keys.append(
                QStringLiteral("%1 %2").arg(code).arg(state ? QStringLiteral("down") : QStringLiteral("up")));
        }
        const xkb_keysym_t sym = symbol(code, layout);
        if (sym == XKB_KEY_Control_L || sym == XKB_KEY_Control_R || sym == XKB_KEY_Shift_L ||
            sym == XKB_KEY_Shift_R) {
            const uint32_t modifier =
                sym == XKB_KEY_Control_L || sym == XKB_KEY_Control_R ? XKB_KEY_Control_L : XKB_KEY_Shift_L;
            if (state)
                held.insert(modifier);
            else
                held.erase(modifier);
            return;
        }
        if (!state)
            return;
        const Window *front = window(active);
        const QString who = front ? front->appId : QStringLiteral("(desktop)");
        const bool control = held.count(XKB_KEY_Control_L), shift = held.count(XKB_KEY_Shift_L);
        if ((control && shortcutSymbol(code) == XKB_KEY_v) || (sym == XKB_KEY_Insert && shift && !control)) {
            paste(who);
            return;
        }
        QString what = QStringLiteral("key %1").arg(code);
        if (sym == XKB_KEY_KP_Enter)
            what = QStringLiteral("enter keypad");
        else if (sym == XKB_KEY_Left)
            what = QStringLiteral("left");
        if (control)
            what.prepend(QStringLiteral("ctrl+"));
        std::lock_guard lock(logMutex);
        landed.append(who + QLatin1Char(' ') + what);
    }

    // The unshifted symbol of an evdev code in a layout.
    xkb_keysym_t symbol(uint32_t code, uint32_t in) const {
        const xkb_keysym_t *syms = nullptr;
        return xkb_keymap_key_get_syms_by_level(keymap.get(), code + 8, in, 0, &syms) > 0 ? syms[0]
                                                                                          : XKB_KEY_NoSymbol;
    }

    // What a program matches a shortcut against: the active layout's symbol, or where that is not
    // Latin, the first Latin one of the other layouts on the same key.
    xkb_keysym_t shortcutSymbol(uint32_t code) const {
        const xkb_keysym_t own = symbol(code, layout);
        if (own <= 0xff)
            return own;
        for (uint32_t other = 0; other < xkb_keymap_num_layouts(keymap.get()); ++other)
            if (const xkb_keysym_t sym = symbol(code, other); sym <= 0xff)
                return sym;
        return own;
    }

    void sendKeymap(wl_resource *keyboard) {
        const int fd = memfd_create("keymap", MFD_CLOEXEC);
        if (fd < 0)
            return;
        const QByteArray text = keymapText + '\0';
        if (write(fd, text.constData(), size_t(text.size())) == ssize_t(text.size()))
            wl_keyboard_send_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd, uint32_t(text.size()));
        close(fd);
    }

    bool useKeymap(const QByteArray &text) {
        xkb_context *context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
        keymap.reset(xkb_keymap_new_from_buffer(context, text.constData(), size_t(text.size()),
                                                XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
        xkb_context_unref(context);
        keymapText = text;
        return bool(keymap);
    }

    // The window's program reads the clipboard as a Qt program does: a picture when there is one,
    // else UTF-8 text.
    void paste(const QString &who) {
        qsizetype index = 0;
        {
            std::lock_guard lock(logMutex);
            index = landed.size();
            landed.append(who + QStringLiteral(" paste (reading)"));
        }
        QString type;
        if (selection)
            for (const char *wanted : {"image/png", "text/plain;charset=utf-8", "text/plain"})
                if (type.isEmpty() && selection->types.contains(QLatin1String(wanted)))
                    type = QLatin1String(wanted);
        if (type.isEmpty()) {
            std::lock_guard lock(logMutex);
            landed[index] = who + QStringLiteral(" paste nothing");
            return;
        }
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0)
            return;
        zwlr_data_control_source_v1_send_send(selection->resource, type.toUtf8().constData(), fds[1]);
        close(fds[1]);
        wl_display_flush_clients(display);
        readers.emplace_back([this, index, who, type, fd = fds[0]] {
            QByteArray data;
            char buffer[4096];
            ssize_t n;
            while ((n = read(fd, buffer, sizeof buffer)) > 0)
                data.append(buffer, n);
            close(fd);
            std::lock_guard lock(logMutex);
            landed[index] = who + (type == QLatin1String("image/png")
                                       ? QStringLiteral(" paste image bytes=%1").arg(data.size())
                                       : QStringLiteral(" paste text=") + QString::fromUtf8(data));
        });
    }

    static void bindFakeInput(wl_client *client, void *data, uint32_t version, uint32_t id) {
        wl_resource *r = wl_resource_create(client, &org_kde_kwin_fake_input_interface, int(version), id);
        wl_resource_set_implementation(r, &fakeInputImplementation, data, nullptr);
    }

    // --- clipboard

    static void sourceOffer(wl_client *, wl_resource *r, const char *type) {
        auto *self = of(r);
        if (auto it = self->sources.find(r); it != self->sources.end())
            it->second->types.append(QString::fromUtf8(type));
    }
    static void sourceDestroy(wl_client *, wl_resource *r) { wl_resource_destroy(r); }
    static constexpr struct zwlr_data_control_source_v1_interface sourceImplementation {
        sourceOffer, sourceDestroy
    };
    static void sourceGone(wl_resource *r) {
        auto *self = of(r);
        if (self->selection && self->selection->resource == r)
            self->selection = nullptr;
        self->sources.erase(r);
    }

    static void offerReceive(wl_client *, wl_resource *, const char *, int32_t fd) { close(fd); }
    static void offerDestroy(wl_client *, wl_resource *r) { wl_resource_destroy(r); }
    static constexpr struct zwlr_data_control_offer_v1_interface offerImplementation {
        offerReceive, offerDestroy
    };

    // Tells a device what the clipboard holds now, as KWin does after every change.
    void tell(wl_resource *device) {
        if (!selection) {
            zwlr_data_control_device_v1_send_selection(device, nullptr);
            return;
        }
        wl_resource *offer =
            wl_resource_create(wl_resource_get_client(device), &zwlr_data_control_offer_v1_interface,
                               wl_resource_get_version(device), 0);
        wl_resource_set_implementation(offer, &offerImplementation, this, nullptr);
        zwlr_data_control_device_v1_send_data_offer(device, offer);
        for (const QString &type : selection->types)
            zwlr_data_control_offer_v1_send_offer(offer, type.toUtf8().constData());
        zwlr_data_control_device_v1_send_selection(device, offer);
    }

    static void setSelection(wl_client *, wl_resource *device, wl_resource *source) {
        State *self = of(device);
        Source *next = nullptr;
        if (source)
            if (auto it = self->sources.find(source); it != self->sources.end())
                next = it->second.get();
        if (self->selection && self->selection != next)
            zwlr_data_control_source_v1_send_cancelled(self->selection->resource);
        self->selection = next;
        for (wl_resource *d : self->devices)
            self->tell(d);
    }
    static void setPrimary(wl_client *, wl_resource *, wl_resource *source) {
        // No program here reads PRIMARY: the source is let go at once, as by a newer selection.
        if (source)
            zwlr_data_control_source_v1_send_cancelled(source);
    }
    static void deviceDestroy(wl_client *, wl_resource *r) { wl_resource_destroy(r); }
    static constexpr struct zwlr_data_control_device_v1_interface deviceImplementation {
        setSelection, deviceDestroy, setPrimary
    };
    static void deviceGone(wl_resource *r) { std::erase(of(r)->devices, r); }

    static void createSource(wl_client *client, wl_resource *manager, uint32_t id) {
        State *self = of(manager);
        wl_resource *r = wl_resource_create(client, &zwlr_data_control_source_v1_interface,
                                            wl_resource_get_version(manager), id);
        wl_resource_set_implementation(r, &sourceImplementation, self, sourceGone);
        auto source = std::make_unique<Source>();
        source->resource = r;
        self->sources[r] = std::move(source);
    }
    static void getDevice(wl_client *client, wl_resource *manager, uint32_t id, wl_resource *) {
        State *self = of(manager);
        wl_resource *r = wl_resource_create(client, &zwlr_data_control_device_v1_interface,
                                            wl_resource_get_version(manager), id);
        wl_resource_set_implementation(r, &deviceImplementation, self, deviceGone);
        self->devices.push_back(r);
        self->tell(r);
    }
    static void dataControlDestroy(wl_client *, wl_resource *r) { wl_resource_destroy(r); }
    static constexpr struct zwlr_data_control_manager_v1_interface dataControlImplementation {
        createSource, getDevice, dataControlDestroy
    };
    static void bindDataControl(wl_client *client, void *data, uint32_t version, uint32_t id) {
        wl_resource *r =
            wl_resource_create(client, &zwlr_data_control_manager_v1_interface, int(version), id);
        wl_resource_set_implementation(r, &dataControlImplementation, data, nullptr);
    }

    // --- seat: a keyboard seat that hands out inert devices

    static wl_resource *seatDevice(wl_client *client, wl_resource *seat, uint32_t id,
                                   const wl_interface *interface) {
        wl_resource *r = wl_resource_create(client, interface, wl_resource_get_version(seat), id);
        wl_resource_set_implementation(r, nullptr, nullptr, nullptr);
        return r;
    }
    static void keyboardGone(wl_resource *r) { std::erase(of(r)->keyboards, r); }
    static void getPointer(wl_client *c, wl_resource *s, uint32_t id) {
        seatDevice(c, s, id, &wl_pointer_interface);
    }
    // Every keyboard gets the keymap at once, focused or not.
    static void getKeyboard(wl_client *c, wl_resource *s, uint32_t id) {
        State *self = of(s);
        wl_resource *r = wl_resource_create(c, &wl_keyboard_interface, wl_resource_get_version(s), id);
        wl_resource_set_implementation(r, nullptr, self, keyboardGone);
        self->keyboards.push_back(r);
        if (self->offers.keymap)
            self->sendKeymap(r);
    }
    static void getTouch(wl_client *c, wl_resource *s, uint32_t id) {
        seatDevice(c, s, id, &wl_touch_interface);
    }
    static void seatRelease(wl_client *, wl_resource *r) { wl_resource_destroy(r); }
    static constexpr struct wl_seat_interface seatImplementation {
        getPointer, getKeyboard, getTouch, seatRelease
    };
    static void bindSeat(wl_client *client, void *data, uint32_t version, uint32_t id) {
        wl_resource *r = wl_resource_create(client, &wl_seat_interface, int(version), id);
        wl_resource_set_implementation(r, &seatImplementation, data, nullptr);
        wl_seat_send_capabilities(r, WL_SEAT_CAPABILITY_KEYBOARD);
        if (version >= 2)
            wl_seat_send_name(r, "seat0");
    }
};

PlasmaStandIn::PlasmaStandIn(Offers offers) : d(std::make_unique<State>()) {
    d->offers = offers;
}

PlasmaStandIn::~PlasmaStandIn() {
    if (!d->busName.isEmpty())
        QDBusConnection::disconnectFromBus(d->busName);
    d->busThread.quit();
    d->busThread.wait();
    if (d->thread.joinable()) {
        d->tasks.stop();
        d->thread.join();
    }
    if (d->display) {
        wl_display_destroy_clients(d->display);
        wl_display_destroy(d->display);
    }
    for (auto &reader : d->readers)
        reader.join();
}

bool PlasmaStandIn::start() {
    if (!d->runtime.isValid())
        return false;
    QFile::setPermissions(d->runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(d->runtime.path()));
    d->display = wl_display_create();
    const char *name = d->display ? wl_display_add_socket_auto(d->display) : nullptr;
    if (!name)
        return false;
    d->socketName = QString::fromLatin1(name);
    qputenv("WAYLAND_DISPLAY", name);
    qunsetenv("DISPLAY");
    if (!d->useKeymap(keymapText("us", "")))
        return false;
    d->loop = wl_display_get_event_loop(d->display);
    wl_event_loop_add_fd(
        d->loop, d->tasks.wakeFd(), WL_EVENT_READABLE,
        [](int, uint32_t, void *data) {
            static_cast<ThreadTasks *>(data)->clearWake();
            return 0;
        },
        &d->tasks);
    wl_global_create(d->display, &wl_seat_interface, 5, d.get(), State::bindSeat);
    // The order KWin announces them in.
    if (d->offers.dataControl)
        wl_global_create(d->display, &zwlr_data_control_manager_v1_interface, 2, d.get(),
                         State::bindDataControl);
    if (d->offers.windowManagement)
        wl_global_create(d->display, &org_kde_plasma_window_management_interface, 16, d.get(),
                         State::bindManager);
    if (d->offers.fakeInput)
        wl_global_create(d->display, &org_kde_kwin_fake_input_interface, 4, d.get(), State::bindFakeInput);
    d->thread = std::thread([this] { d->serve(); });
    return true;
}

QString PlasmaStandIn::socket() const {
    return d->socketName;
}

int PlasmaStandIn::addWindow(const QString &appId, const QString &title, quint32 pid) {
    return d->run([this, appId, title, pid] {
        auto w = std::make_unique<State::Window>();
        w->owner = d.get();
        w->number = d->nextNumber++;
        w->uuid = QUuid::createUuid().toString();
        w->appId = appId;
        w->title = title;
        w->pid = pid;
        d->windows.push_back(std::move(w));
        for (wl_resource *manager : d->managers) {
            d->announce(manager, *d->windows.back());
            d->stackingOrder(manager);
        }
        return d->windows.back()->number;
    });
}

void PlasmaStandIn::activate(int window) {
    d->run([this, window] { d->setActive(window); });
}

void PlasmaStandIn::setTitle(int window, const QString &title) {
    d->run([this, window, title] {
        if (State::Window *w = d->window(window)) {
            w->title = title;
            for (wl_resource *r : w->resources)
                org_kde_plasma_window_send_title_changed(r, title.toUtf8().constData());
        }
    });
}

void PlasmaStandIn::closeWindow(int window) {
    d->run([this, window] {
        State::Window *w = d->window(window);
        if (!w)
            return;
        if (d->active == window)
            d->active = 0;
        for (wl_resource *r : w->resources) {
            org_kde_plasma_window_send_unmapped(r);
            wl_resource_set_user_data(r, nullptr);
        }
        std::erase_if(d->windows, [w](const auto &p) { return p.get() == w; });
        for (wl_resource *manager : d->managers)
            d->stackingOrder(manager);
    });
}

QString PlasmaStandIn::activeAppId() const {
    return d->run([this] {
        const State::Window *w = d->window(d->active);
        return w ? w->appId : QString();
    });
}

void PlasmaStandIn::setKeymap(const QByteArray &text, quint32 active) {
    const bool several = d->run([this, text, active] {
        if (!d->useKeymap(text))
            qFatal("the stand-in cannot compile its keymap");
        d->layout = active;
        for (wl_resource *keyboard : d->keyboards)
            d->sendKeymap(keyboard);
        return xkb_keymap_num_layouts(d->keymap.get()) > 1;
    });
    // KWin offers its layout service only while there are several layouts.
    if (d->busName.isEmpty()) {
        d->busName = QStringLiteral("plasmastandin-%1").arg(quintptr(this));
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, d->busName);
        d->layoutService.moveToThread(&d->busThread);
        d->busThread.start();
    }
    QDBusConnection bus(d->busName);
    const QString service = QStringLiteral("org.kde.keyboard"), path = QStringLiteral("/Layouts");
    if (several && !d->layoutsOnBus) {
        d->layoutsOnBus = bus.registerVirtualObject(path, &d->layoutService) && bus.registerService(service);
    } else if (!several && d->layoutsOnBus) {
        d->layoutsOnBus = false;
        bus.unregisterService(service);
        bus.unregisterObject(path);
    }
}

QByteArray PlasmaStandIn::keymapText(const char *layouts, const char *variants, const char *options) {
    xkb_context *context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const xkb_rule_names names{"evdev", "pc105", layouts, variants, options};
    xkb_keymap *keymap =
        context ? xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS) : nullptr;
    char *text = keymap ? xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1) : nullptr;
    const QByteArray result(text);
    free(text);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    return result;
}

QStringList PlasmaStandIn::landed() const {
    std::lock_guard lock(d->logMutex);
    return d->landed;
}

QStringList PlasmaStandIn::keyEvents() const {
    std::lock_guard lock(d->logMutex);
    return d->keys;
}

QString PlasmaStandIn::authentication() const {
    std::lock_guard lock(d->logMutex);
    return d->authentication;
}

int PlasmaStandIn::unauthenticatedKeys() const {
    std::lock_guard lock(d->logMutex);
    return d->unauthenticated;
}

int PlasmaStandIn::otherInput() const {
    std::lock_guard lock(d->logMutex);
    return d->other;
}
