#include "desktop/desktopbackend.h"
#include "desktop/wayland/waylandbackend.h"
#include "phrasejson.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "sendtesting.h"
#include "sessionbus.h"
#include "store/localpath.h"
#include "testenv.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace {

// The keymap KWin hands every client, as a client of the test's own sees it: tells when a change
// of the layouts has reached the clients.
class KeymapWatch {
public:
    ~KeymapWatch() {
        if (keyboard_)
            wl_keyboard_destroy(keyboard_);
        if (seat_)
            wl_seat_destroy(seat_);
        if (registry_)
            wl_registry_destroy(registry_);
        if (display_)
            wl_display_disconnect(display_);
    }
    bool start() {
        display_ = wl_display_connect(nullptr);
        if (!display_)
            return false;
        registry_ = wl_display_get_registry(display_);
        static constexpr wl_registry_listener registryListener{
            [](void *data, wl_registry *registry, uint32_t name, const char *interface, uint32_t) {
                auto *self = static_cast<KeymapWatch *>(data);
                if (!self->seat_ && QLatin1String(interface) == QLatin1String(wl_seat_interface.name))
                    self->seat_ =
                        static_cast<wl_seat *>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
            },
            [](void *, wl_registry *, uint32_t) {}};
        wl_registry_add_listener(registry_, &registryListener, this);
        if (wl_display_roundtrip(display_) < 0 || !seat_)
            return false;
        static constexpr wl_keyboard_listener keyboardListener{
            [](void *data, wl_keyboard *, uint32_t, int32_t fd, uint32_t size) {
                void *mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
                if (mapped != MAP_FAILED) {
                    static_cast<KeymapWatch *>(data)->keymap_ = QByteArray(static_cast<const char *>(mapped));
                    munmap(mapped, size);
                }
                close(fd);
            },
            [](void *, wl_keyboard *, uint32_t, wl_surface *, wl_array *) {},
            [](void *, wl_keyboard *, uint32_t, wl_surface *) {},
            [](void *, wl_keyboard *, uint32_t, uint32_t, uint32_t, uint32_t) {},
            [](void *, wl_keyboard *, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {},
            [](void *, wl_keyboard *, int32_t, int32_t) {}};
        keyboard_ = wl_seat_get_keyboard(seat_);
        wl_keyboard_add_listener(keyboard_, &keyboardListener, this);
        return wl_display_roundtrip(display_) >= 0;
    }
    // What the key with evdev code 47 (V on QWERTY) gives in each layout of the latest keymap,
    // such as "k v" for Dvorak then QWERTY.
    QByteArray keyV() {
        wl_display_roundtrip(display_);
        xkb_context *context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
        xkb_keymap *keymap =
            xkb_keymap_new_from_buffer(context, keymap_.constData(), size_t(keymap_.size()),
                                       XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS);
        QByteArrayList names;
        for (xkb_layout_index_t layout = 0; keymap && layout < xkb_keymap_num_layouts(keymap); ++layout) {
            const xkb_keysym_t *syms = nullptr;
            char name[64] = {};
            if (xkb_keymap_key_get_syms_by_level(keymap, 47 + 8, layout, 0, &syms) > 0)
                xkb_keysym_get_name(syms[0], name, sizeof name);
            names.append(name);
        }
        xkb_keymap_unref(keymap);
        xkb_context_unref(context);
        return names.join(' ');
    }

private:
    wl_display *display_ = nullptr;
    wl_registry *registry_ = nullptr;
    wl_seat *seat_ = nullptr;
    wl_keyboard *keyboard_ = nullptr;
    QByteArray keymap_;
};

// A call to KWin's keyboard layout service.
QDBusMessage layouts(const QString &method, const QVariantList &arguments = {}) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(QStringLiteral("org.kde.keyboard"), QStringLiteral("/Layouts"),
                                       QStringLiteral("org.kde.KeyboardLayouts"), method);
    call.setArguments(arguments);
    return QDBusConnection::sessionBus().call(call);
}

} // namespace

// The back-end against a real headless KWin, where it is installed (CI does not install it: it
// brings a whole desktop along), with a native Wayland paste target. KWin shares the test's
// private session bus, where it tells the active layout.
class SendKWinTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir_;
    QProcess kwin_, target_;
    QString log_;
    KeymapWatch keymap_;
    std::unique_ptr<SendTesting> send_;

    quint64 targetWindow() const { return send_->targetWindow(); }
    QStringList lines() const { return SendTesting::logLines(log_); }

private Q_SLOTS:
    void initTestCase() {
        const QString kwin = QStandardPaths::findExecutable(QStringLiteral("kwin_wayland"));
        if (kwin.isEmpty())
            QSKIP("KWin is not installed");
        LocalPath::initDirs();
        // KWin carries a file capability that a container may not grant: a plain copy runs anywhere.
        const QString copy = dir_.filePath(QStringLiteral("kwin_wayland"));
        QVERIFY(QFile::copy(kwin, copy));
        const QString runtime = dir_.filePath(QStringLiteral("runtime")),
                      data = dir_.filePath(QStringLiteral("data"));
        QVERIFY(QDir().mkpath(runtime) && QDir().mkpath(data + QStringLiteral("/applications")));
        QVERIFY(writeLayouts(QStringLiteral("us"), QString()));
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        // The entry that lets this program use KWin's window list and fake input, as the installed one does.
        QFile entry(data + QStringLiteral("/applications/tst_send_kwin.desktop"));
        QVERIFY(entry.open(QIODevice::WriteOnly));
        entry.write(QStringLiteral(
                        "[Desktop Entry]\nType=Application\nName=test\nExec=%1\n"
                        "X-KDE-Wayland-Interfaces=org_kde_plasma_window_management,org_kde_kwin_fake_input\n")
                        .arg(QCoreApplication::applicationFilePath())
                        .toUtf8());
        entry.close();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"WAYLAND_DISPLAY", "DISPLAY"})
            env.remove(QLatin1String(name));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
        env.insert(QStringLiteral("XDG_DATA_HOME"), data);
        kwin_.setProcessEnvironment(env);
        kwin_.setProcessChannelMode(QProcess::MergedChannels);
        // KWin and the programs it starts go as one group.
        kwin_.setChildProcessModifier([] { setpgid(0, 0); });
        kwin_.setStandardOutputFile(dir_.filePath(QStringLiteral("kwin.log")));
        kwin_.start(copy,
                    {QStringLiteral("--virtual"), QStringLiteral("--no-lockscreen"),
                     QStringLiteral("--socket"), QStringLiteral("quillora-kwin"), QStringLiteral("--width"),
                     QStringLiteral("1280"), QStringLiteral("--height"), QStringLiteral("800")});
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(runtime + QStringLiteral("/quillora-kwin")), 30000);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
        qputenv("WAYLAND_DISPLAY", "quillora-kwin");
        QVERIFY(keymap_.start());
        send_ = std::make_unique<SendTesting>();

        log_ = dir_.filePath(QStringLiteral("target.log"));
        env.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("quillora-kwin"));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        target_.setProcessEnvironment(env);
        target_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        target_.start(QStringLiteral(PASTETARGET_BINARY),
                      {QStringLiteral("--log"), log_, QStringLiteral("--class"), QStringLiteral("chat.kwin"),
                       QStringLiteral("--title"), QStringLiteral("Chat KWin")});
    }

    // The user's layouts, where KWin reads them.
    static bool writeLayouts(const QString &layouts, const QString &variants) {
        QFile file(qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/kxkbrc"));
        return file.open(QIODevice::WriteOnly) &&
               file.write(QStringLiteral("[Layout]\nUse=true\nLayoutList=%1\nVariantList=%2\n")
                              .arg(layouts, variants)
                              .toUtf8()) > 0;
    }

    void cleanupTestCase() {
        target_.terminate();
        if (!target_.waitForFinished(5000))
            target_.kill();
        if (kwin_.processId() > 0) {
            kill(-pid_t(kwin_.processId()), SIGTERM);
            if (!kwin_.waitForFinished(5000))
                kill(-pid_t(kwin_.processId()), SIGKILL);
        }
    }

    // KWin lists the target with its process and brings it forward; "发送到" follows it; a phrase
    // with Enter lands through fake input and the data-control clipboard.
    void sendIntoKWin() {
        auto *backend = dynamic_cast<WaylandBackend *>(&send_->desktop());
        QVERIFY(backend && backend->available());
        QCOMPARE(backend->windowProtocol(), QStringLiteral("org_kde_plasma_window_management"));
        QCOMPARE(backend->keyProtocol(), QStringLiteral("org_kde_kwin_fake_input"));
        QVERIFY(backend->servesClipboard());
        QTRY_VERIFY_WITH_TIMEOUT(send_->applicationWithId(QStringLiteral("chat.kwin")), 30000);
        const RunningApplication chat = *send_->applicationWithId(QStringLiteral("chat.kwin"));
        QCOMPARE(chat.pid, qint32(target_.processId()));
        QCOMPARE(chat.title, QStringLiteral("Chat KWin"));
        send_->tracker().start();
        QVERIFY(send_->activate(chat));
        QTRY_COMPARE_WITH_TIMEOUT(targetWindow(), chat.window, 10000);

        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("你好 KWin"))})),
            true);
        QVERIFY(send_->settle());
        QTRY_COMPARE_WITH_TIMEOUT(lines().size(), 2, 10000);
        QVERIFY2(lines()[0].endsWith(QStringLiteral(" text=你好 KWin")), qPrintable(lines()[0]));
        QCOMPARE(lines()[1], QStringLiteral("enter keypad"));
    }

    // The user changes the layouts in the settings: the paste still lands, on Dvorak alone, with
    // QWERTY chosen as the second layout, and with Russian active before a Dvorak second layout.
    void pasteOnOtherLayouts() {
        struct Layout {
            QString layouts, variants;
            quint32 active;
            QByteArray keyV;
        };
        const QList<Layout> cases{
            {QStringLiteral("us"), QStringLiteral("dvorak"), 0, "k"},
            {QStringLiteral("us,us"), QStringLiteral("dvorak,"), 1, "k v"},
            {QStringLiteral("ru,us"), QStringLiteral(",dvorak"), 0, "Cyrillic_em k"},
        };
        const auto found = send_->applicationWithId(QStringLiteral("chat.kwin"));
        QVERIFY(found);
        const RunningApplication chat = *found;
        for (const Layout &layout : cases) {
            QVERIFY(writeLayouts(layout.layouts, layout.variants));
            QVERIFY(QDBusConnection::sessionBus().send(
                QDBusMessage::createSignal(QStringLiteral("/Layouts"), QStringLiteral("org.kde.keyboard"),
                                           QStringLiteral("reloadConfig"))));
            QTRY_COMPARE_WITH_TIMEOUT(keymap_.keyV(), layout.keyV, 10000);
            if (layout.layouts.contains(QLatin1Char(','))) {
                QTRY_COMPARE_WITH_TIMEOUT(layouts(QStringLiteral("getLayoutsList")).type(),
                                          QDBusMessage::ReplyMessage, 10000);
                QCOMPARE(layouts(QStringLiteral("setLayout"), {layout.active}).arguments().value(0).toBool(),
                         true);
                QCOMPARE(layouts(QStringLiteral("getLayout")).arguments().value(0).toUInt(), layout.active);
            }
            QVERIFY(send_->activate(chat));
            QTRY_COMPARE_WITH_TIMEOUT(targetWindow(), chat.window, 10000);
            const QString text = layout.layouts + QLatin1Char(' ') + layout.variants;
            const qsizetype before = lines().size();
            send_->sender().send(PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(text)})),
                                 false);
            QVERIFY(send_->settle());
            QTRY_COMPARE_WITH_TIMEOUT(lines().size(), before + 1, 10000);
            QVERIFY2(lines().constLast().endsWith(QStringLiteral(" text=") + text),
                     qPrintable(lines().constLast()));
        }
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    SessionBus bus;
    if (!bus.start())
        qFatal("no dbus-daemon");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    SendKWinTest tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_send_kwin.moc"
