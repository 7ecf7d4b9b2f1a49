#include "desktop/desktopbackend.h"
#include "desktop/wayland/waylandbackend.h"
#include "phrasejson.h"
#include "plasmastandin.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "sendtesting.h"
#include "sessionbus.h"
#include "standardoutput.h"
#include "store/localpath.h"
#include "testenv.h"

#include <QGuiApplication>
#include <QtTest>

// The back-end on a KDE Plasma desktop, against a stand-in that plays KWin's side of the exchanges.
class SendKdeTest : public QObject {
    Q_OBJECT

public:
    explicit SendKdeTest(PlasmaStandIn &kwin) : kwin_(kwin) {}

private:
    PlasmaStandIn &kwin_;
    QByteArray png_;
    int alpha_ = 0, beta_ = 0, own_ = 0;
    std::unique_ptr<SendTesting> send_;
    const qint32 ownPid_ = qint32(QCoreApplication::applicationPid());

    // The agent works in the chat window, then clicks into this program to pick a phrase.
    void targetThenOwn(int window, const QString &appId) {
        kwin_.activate(window);
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetAppId(), appId, 10000);
        kwin_.activate(own_);
        QTRY_COMPARE_WITH_TIMEOUT(send_->frontPid(), ownPid_, 10000);
        QCOMPARE(send_->targetAppId(), appId);
    }

    // The lines that landed since before, once every paste has been read.
    QStringList landedSince(qsizetype before, qsizetype count) {
        const auto ready = [&] {
            const QStringList all = kwin_.landed();
            return all.size() >= before + count &&
                   std::none_of(all.begin() + before, all.end(),
                                [](const QString &l) { return l.endsWith(QStringLiteral("(reading)")); });
        };
        [&] { QTRY_VERIFY_WITH_TIMEOUT(ready(), 10000); }();
        return kwin_.landed().mid(before);
    }

private Q_SLOTS:
    void initTestCase() {
        LocalPath::initDirs();
        png_ = SendTesting::writePicture();
        QVERIFY(!png_.isEmpty());
        alpha_ = kwin_.addWindow(QStringLiteral("chat.alpha"), QStringLiteral("Chat alpha"), 4001);
        own_ = kwin_.addWindow(QStringLiteral("org.quillora.Quillora"), QStringLiteral("Quillora"),
                               quint32(QCoreApplication::applicationPid()));
        send_ = std::make_unique<SendTesting>();
    }

    // KWin's own protocols are chosen: its window list names processes, its fake input types, after
    // authenticate and before any key.
    void kdeProtocolsChosen() {
        auto *backend = dynamic_cast<WaylandBackend *>(&send_->desktop());
        QVERIFY(backend);
        QVERIFY(backend->available());
        QCOMPARE(backend->windowProtocol(), QStringLiteral("org_kde_plasma_window_management"));
        QCOMPARE(backend->keyProtocol(), QStringLiteral("org_kde_kwin_fake_input"));
        QVERIFY(backend->canType());
        QVERIFY(backend->servesClipboard());
        QVERIFY(kwin_.authentication().startsWith(QStringLiteral("Quillora: ")));
        const auto alpha = send_->applicationWithId(QStringLiteral("chat.alpha"));
        QVERIFY(alpha);
        QCOMPARE(alpha->pid, 4001);
        QCOMPARE(alpha->title, QStringLiteral("Chat alpha"));
    }

    // "发送到" follows the window KWin reports active, windows that appear later, title changes and
    // this program's own window (known by its process) leave it be; activation goes through KWin.
    void frontWindowFollowed() {
        beta_ = kwin_.addWindow(QStringLiteral("chat.beta"), QStringLiteral("Chat beta"), 4002);
        QTRY_VERIFY_WITH_TIMEOUT(send_->applicationWithId(QStringLiteral("chat.beta")), 10000);
        send_->tracker().start();
        kwin_.activate(alpha_);
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetAppId(), QStringLiteral("chat.alpha"), 10000);
        kwin_.activate(own_);
        QTRY_COMPARE_WITH_TIMEOUT(send_->frontPid(), ownPid_, 10000);
        QTest::qWait(200);
        QCOMPARE(send_->targetAppId(), QStringLiteral("chat.alpha"));
        kwin_.activate(beta_);
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetAppId(), QStringLiteral("chat.beta"), 10000);
        kwin_.setTitle(beta_, QStringLiteral("Chat beta (2)"));
        QTRY_COMPARE_WITH_TIMEOUT(send_->desktop().activeApplication()->title,
                                  QStringLiteral("Chat beta (2)"), 10000);

        QVERIFY(send_->activate(*send_->applicationWithId(QStringLiteral("chat.alpha"))));
        QCOMPARE(kwin_.activeAppId(), QStringLiteral("chat.alpha"));
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetAppId(), QStringLiteral("chat.alpha"), 10000);

        // A window that closes is no longer listed nor can be brought forward.
        const int gone = kwin_.addWindow(QStringLiteral("chat.gone"), QStringLiteral("Chat gone"), 4003);
        QTRY_VERIFY_WITH_TIMEOUT(send_->applicationWithId(QStringLiteral("chat.gone")), 10000);
        const RunningApplication closing = *send_->applicationWithId(QStringLiteral("chat.gone"));
        kwin_.closeWindow(gone);
        QTRY_VERIFY_WITH_TIMEOUT(!send_->applicationWithId(QStringLiteral("chat.gone")), 10000);
        QVERIFY(!send_->activate(closing));
        QCOMPARE(send_->desktop().focus(closing.window), DesktopBackend::Focus::Gone);
        QCOMPARE(kwin_.activeAppId(), QStringLiteral("chat.alpha"));
    }

    // The piece is pasted with Ctrl held around V, then Enter from the keypad, all into the target.
    void textWithAndWithoutEnter() {
        targetThenOwn(alpha_, QStringLiteral("chat.alpha"));
        const qsizetype before = kwin_.landed().size(), keysBefore = kwin_.keyEvents().size();
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("你好 world"))})),
            false);
        QVERIFY(send_->settle());
        QCOMPARE(landedSince(before, 1), QStringList{QStringLiteral("chat.alpha paste text=你好 world")});
        QCOMPARE(kwin_.keyEvents().mid(keysBefore),
                 (QStringList{QStringLiteral("29 down"), QStringLiteral("47 down"), QStringLiteral("47 up"),
                              QStringLiteral("29 up")}));

        targetThenOwn(alpha_, QStringLiteral("chat.alpha"));
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("second"))})), true);
        QVERIFY(send_->settle());
        QCOMPARE(landedSince(before + 1, 2), (QStringList{QStringLiteral("chat.alpha paste text=second"),
                                                          QStringLiteral("chat.alpha enter keypad")}));
        QCOMPARE(kwin_.keyEvents().mid(kwin_.keyEvents().size() - 2),
                 (QStringList{QStringLiteral("96 down"), QStringLiteral("96 up")}));
        QCOMPARE(kwin_.unauthenticatedKeys(), 0);
        QCOMPARE(kwin_.otherInput(), 0);
    }

    void textPictureTextInOrder() {
        targetThenOwn(beta_, QStringLiteral("chat.beta"));
        const qsizetype before = kwin_.landed().size();
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("before")),
                                                        PhraseJson::picture(QStringLiteral("pic.png")),
                                                        PhraseJson::text(QStringLiteral("after"))})),
            true);
        QVERIFY(send_->settle());
        QCOMPARE(landedSince(before, 4),
                 (QStringList{QStringLiteral("chat.beta paste text=before"),
                              QStringLiteral("chat.beta paste image bytes=%1").arg(png_.size()),
                              QStringLiteral("chat.beta paste text=after"),
                              QStringLiteral("chat.beta enter keypad")}));
    }

    // The agent goes to another chat after the first piece: the rest, Enter above all, is dropped
    // and nothing lands in the other window.
    void focusTakenAwayMidSend() {
        targetThenOwn(alpha_, QStringLiteral("chat.alpha"));
        const qsizetype before = kwin_.landed().size();
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase(
                {PhraseJson::text(QStringLiteral("one")), PhraseJson::picture(QStringLiteral("pic.png")),
                 PhraseJson::text(QStringLiteral("two")), PhraseJson::picture(QStringLiteral("pic.png")),
                 PhraseJson::text(QStringLiteral("three"))})),
            true);
        QTRY_VERIFY_WITH_TIMEOUT(kwin_.landed().size() > before, 10000);
        kwin_.activate(beta_);
        QVERIFY(send_->settle());
        const QStringList got = landedSince(before, 1);
        QVERIFY2(got.size() < 5, qPrintable(got.join(QLatin1Char('|'))));
        const QStringList expected{QStringLiteral("text=one"), QStringLiteral("image"),
                                   QStringLiteral("text=two"), QStringLiteral("image"),
                                   QStringLiteral("text=three")};
        for (qsizetype i = 0; i < got.size(); ++i) {
            QVERIFY2(got[i].startsWith(QStringLiteral("chat.alpha paste ")),
                     qPrintable(got.join(QLatin1Char('|'))));
            QVERIFY2(got[i].contains(expected[i]), qPrintable(got.join(QLatin1Char('|'))));
        }
        QCOMPARE(kwin_.activeAppId(), QStringLiteral("chat.beta"));
    }

    // KWin reads the codes through the user's layout: Ctrl+V pastes whatever the layout, with the
    // keys taken from the keymap the seat hands out (again at each change), in the layout KWin says
    // is active, or where that has no Latin V, in the first that has one.
    void pasteKeysFollowTheLayout() {
        struct Layout {
            const char *layouts, *variants, *options;
            quint32 active;
            QString control, v;
        };
        const QList<Layout> layouts{
            {"us", "dvorak", nullptr, 0, QStringLiteral("29"), QStringLiteral("52")},
            {"us", "", nullptr, 0, QStringLiteral("29"), QStringLiteral("47")},
            {"fr", "", nullptr, 0, QStringLiteral("29"), QStringLiteral("47")},
            {"us", "", "ctrl:swapcaps", 0, QStringLiteral("58"), QStringLiteral("47")},
            {"us,us", "dvorak,", nullptr, 0, QStringLiteral("29"), QStringLiteral("52")},
            {"us,us", "dvorak,", nullptr, 1, QStringLiteral("29"), QStringLiteral("47")},
            {"ru,us", ",dvorak", nullptr, 0, QStringLiteral("29"), QStringLiteral("52")},
            {"us,ru", "dvorak,", nullptr, 1, QStringLiteral("29"), QStringLiteral("52")},
        };
        for (const Layout &layout : layouts) {
            const QString name = QStringLiteral("%1(%2) %3 active %4")
                                     .arg(QLatin1String(layout.layouts), QLatin1String(layout.variants),
                                          QLatin1String(layout.options ? layout.options : ""))
                                     .arg(layout.active);
            kwin_.setKeymap(PlasmaStandIn::keymapText(layout.layouts, layout.variants, layout.options),
                            layout.active);
            targetThenOwn(alpha_, QStringLiteral("chat.alpha"));
            const qsizetype before = kwin_.landed().size(), keysBefore = kwin_.keyEvents().size();
            send_->sender().send(PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(name)})),
                                 false);
            QVERIFY(send_->settle());
            QCOMPARE(landedSince(before, 1), QStringList{QStringLiteral("chat.alpha paste text=") + name});
            QCOMPARE(
                kwin_.keyEvents().mid(keysBefore),
                (QStringList{layout.control + QStringLiteral(" down"), layout.v + QStringLiteral(" down"),
                             layout.v + QStringLiteral(" up"), layout.control + QStringLiteral(" up")}));
        }
        kwin_.setKeymap(PlasmaStandIn::keymapText("us", ""), 0);
    }

    // Where no keymap comes, the keys are those of the US layout.
    void noKeymap() {
        const QByteArray display = qgetenv("WAYLAND_DISPLAY"), runtime = qgetenv("XDG_RUNTIME_DIR");
        PlasmaStandIn silent(PlasmaStandIn::Offers{true, true, true, false});
        QVERIFY(silent.start());
        const int chat = silent.addWindow(QStringLiteral("chat.delta"), QStringLiteral("Chat delta"), 4011);
        silent.activate(chat);
        auto backend = std::make_unique<WaylandBackend>();
        qputenv("WAYLAND_DISPLAY", display);
        qputenv("XDG_RUNTIME_DIR", runtime);
        const auto front = backend->activeApplication();
        QVERIFY(front);
        QCOMPARE(backend->strokeInto(front->window, {DesktopBackend::Key::V, true, false}),
                 DesktopBackend::StrokeResult::Typed);
        QVERIFY(backend->keyStroke(DesktopBackend::Key::Left, false));
        QCOMPARE(silent.keyEvents(), (QStringList{QStringLiteral("29 down"), QStringLiteral("47 down"),
                                                  QStringLiteral("47 up"), QStringLiteral("29 up"),
                                                  QStringLiteral("105 down"), QStringLiteral("105 up")}));
    }

    // A desktop that offers no fake input: said once in plain words, no key is ever sent, and the
    // window list and the clipboard still work.
    void noFakeInput() {
        const QByteArray display = qgetenv("WAYLAND_DISPLAY"), runtime = qgetenv("XDG_RUNTIME_DIR");
        PlasmaStandIn bare(PlasmaStandIn::Offers{true, false, true});
        QVERIFY(bare.start());
        const int chat = bare.addWindow(QStringLiteral("chat.gamma"), QStringLiteral("Chat gamma"), 4010);
        bare.activate(chat);
        StandardOutput out;
        std::unique_ptr<WaylandBackend> backend = std::make_unique<WaylandBackend>();
        backend->sayWhatIsMissing();
        qputenv("WAYLAND_DISPLAY", display);
        qputenv("XDG_RUNTIME_DIR", runtime);
        QVERIFY(backend->available());
        QVERIFY(!backend->canType());
        QVERIFY(backend->keyProtocol().isEmpty());
        const auto front = backend->activeApplication();
        QVERIFY(front);
        QCOMPARE(front->appId, QStringLiteral("chat.gamma"));
        QVERIFY(backend->setClipboard({{"text/plain;charset=utf-8", "x"}}, false));
        QCOMPARE(backend->strokeInto(front->window, {DesktopBackend::Key::V, true, false}),
                 DesktopBackend::StrokeResult::Failed);
        QVERIFY(!backend->keyStroke(DesktopBackend::Key::Enter, false));
        backend.reset();
        const QString said = out.text();
        QCOMPARE(said.count(QStringLiteral("此桌面不允许模拟按键：")), 1);
        QVERIFY2(said.contains(QStringLiteral("org_kde_kwin_fake_input")), qPrintable(said));
        QVERIFY(bare.keyEvents().isEmpty());
        QCOMPARE(bare.unauthenticatedKeys(), 0);
        QVERIFY(bare.landed().isEmpty());
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    // Where KWin tells the active layout.
    SessionBus bus;
    if (!bus.start())
        qFatal("no dbus-daemon");
    PlasmaStandIn kwin;
    if (!kwin.start())
        qFatal("could not start the compositor stand-in");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    SendKdeTest tc(kwin);
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_send_kde.moc"
