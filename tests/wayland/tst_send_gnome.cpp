#include "desktop/desktopbackend.h"
#include "desktop/gnome/gnomebackend.h"
#include "model/settings.h"
#include "phrasejson.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "sendtesting.h"
#include "sessionbus.h"
#include "standardoutput.h"
#include "store/localpath.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// The stand-in's windows, by the shell's ids.
constexpr quint64 alphaId = 7, betaId = 8, ownId = 9;

} // namespace

// The GNOME back-end against a stand-in that plays the Shell extension and the desktop portal on
// a private session bus, and reads the X11 clipboard when Ctrl+V arrives, as the shell does for a
// native Wayland program.
class SendGnomeTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir logs_;
    QString log_;
    QProcess standin_;
    QByteArray png_;
    Settings settings_;
    std::unique_ptr<SendTesting> send_;

    QStringList lines() const { return SendTesting::logLines(log_); }

    void tell(const QString &command) {
        const qsizetype before = lines().size();
        standin_.write((command + QLatin1Char('\n')).toUtf8());
        QTRY_VERIFY_WITH_TIMEOUT(lines().mid(before).contains(QStringLiteral("did ") + command), 10000);
    }

    GnomeBackend &backend() const { return dynamic_cast<GnomeBackend &>(send_->desktop()); }

    // The user had the target in front, then clicked into this program.
    void targetThenOwn(quint64 id, const QString &appId) {
        tell(QStringLiteral("focus %1").arg(id));
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetAppId(), appId, 10000);
        tell(QStringLiteral("focus %1").arg(ownId));
    }

    void sendAndSettle(const QString &json, bool isEnter) { QVERIFY(send_->sendAndSettle(json, isEnter)); }

    // The key, paste and activation lines from `from` on. A key group (from the first key down to
    // the last key up) that no focus check came before since the previous group shows as UNCHECKED.
    QStringList keysAndPastes(qsizetype from) const {
        QStringList result;
        int held = 0;
        bool checked = false;
        for (const QString &line : lines().mid(from)) {
            if (line == QLatin1String("focused?")) {
                checked = true;
            } else if (line.startsWith(QLatin1String("key"))) {
                if (line.endsWith(QLatin1String(" down")) && held++ == 0) {
                    if (!checked)
                        result.append(QStringLiteral("UNCHECKED"));
                    checked = false;
                } else if (line.endsWith(QLatin1String(" up"))) {
                    --held;
                }
                result.append(line);
            } else if (line.startsWith(QLatin1String("paste")) ||
                       line.startsWith(QLatin1String("activate"))) {
                result.append(line);
            }
        }
        return result;
    }

    // Ctrl+V, the stand-in reading the clipboard when V goes down as a program does.
    static QStringList pasted(const QString &what) {
        return {QStringLiteral("keycode 29 down"), QStringLiteral("keysym 0x76 down"),
                QStringLiteral("paste ") + what, QStringLiteral("keysym 0x76 up"),
                QStringLiteral("keycode 29 up")};
    }
    static QStringList keypadEnter() {
        return {QStringLiteral("keycode 96 down"), QStringLiteral("keycode 96 up")};
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(logs_.isValid());
        LocalPath::initDirs();
        png_ = SendTesting::writePicture();
        QVERIFY(!png_.isEmpty());

        // A desktop entry naming its icon file, for the native window's icon.
        const QString data = qEnvironmentVariable("XDG_DATA_HOME");
        QVERIFY(QDir().mkpath(data + QStringLiteral("/applications")));
        QPixmap red(48, 48);
        red.fill(QColor(200, 30, 60));
        QVERIFY(red.save(data + QStringLiteral("/alpha.png")));
        QFile entry(data + QStringLiteral("/applications/chat.alpha.desktop"));
        QVERIFY(entry.open(QIODevice::WriteOnly));
        entry.write(QStringLiteral("[Desktop Entry]\nType=Application\nName=Alpha\nIcon=%1/alpha.png\n")
                        .arg(data)
                        .toUtf8());
        entry.close();

        log_ = logs_.filePath(QStringLiteral("standin.log"));
        standin_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        const QString ownPid = QString::number(QCoreApplication::applicationPid());
        standin_.start(QStringLiteral(GNOMESTANDIN_BINARY),
                       {QStringLiteral("--log"), log_, QStringLiteral("--window"),
                        QStringLiteral("%1:chat.alpha:4001:Chat alpha").arg(alphaId),
                        QStringLiteral("--window"), QStringLiteral("%1:chat.beta:4002:Chat beta").arg(betaId),
                        QStringLiteral("--window"),
                        QStringLiteral("%1:org.quillora.Quillora:%2:Quillora").arg(ownId).arg(ownPid),
                        QStringLiteral("--focus"), QString::number(ownId)});
        QVERIFY(standin_.waitForStarted(10000));
        QTRY_VERIFY_WITH_TIMEOUT(standin_.canReadLine(), 20000);
        QCOMPARE(standin_.readLine().trimmed(), QByteArray("ready"));

        Settings().setRestoreToken(QString());
        send_ = std::make_unique<SendTesting>(std::make_unique<GnomeBackend>(settings_));
        QVERIFY(backend().available());
        QTRY_VERIFY_WITH_TIMEOUT(backend().canType(), 10000);
        // Asked once, for keys only, to be kept until the user revokes it.
        QCOMPARE(lines().filter(QStringLiteral("select-devices")),
                 QStringList{QStringLiteral("select-devices types=1 persist=2 token=-")});
        QCOMPARE(lines().count(QStringLiteral("consent")), 1);
        QCOMPARE(Settings().restoreToken(), QStringLiteral("token1"));
    }

    void cleanupTestCase() {
        send_.reset();
        standin_.closeWriteChannel();
        if (!standin_.waitForFinished(5000))
            standin_.kill();
    }

    void desktopDetected() {
        QProcessEnvironment env;
        QVERIFY(!GnomeBackend::isGnome(env));
        env.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("ubuntu:GNOME"));
        QVERIFY(GnomeBackend::isGnome(env));
        env.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("KDE"));
        QVERIFY(!GnomeBackend::isGnome(env));
    }

    // The windows as the extension lists them; "发送到" follows its focus signal, titles included,
    // and clicks into this program leave the target be.
    void frontWindowFollowsTheSignal() {
        const auto apps = send_->applications();
        QCOMPARE(apps.size(), 3);
        QCOMPARE(apps[0].appId, QStringLiteral("chat.alpha"));
        QCOMPARE(apps[0].pid, 4001);
        QCOMPARE(apps[0].title, QStringLiteral("Chat alpha"));
        // Native windows' ids never meet X11 window ids.
        QVERIFY(apps[0].window > 0xffffffffu);
        QVERIFY(apps[0].window != apps[1].window);
        const QImage icon = backend().icon(apps[0].window);
        QVERIFY(!icon.isNull());
        QCOMPARE(icon.pixelColor(24, 24), QColor(200, 30, 60));
        QVERIFY(backend().icon(apps[1].window).isNull());

        send_->tracker().start();
        const qsizetype before = lines().size();
        tell(QStringLiteral("focus %1").arg(alphaId));
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetAppId(), QStringLiteral("chat.alpha"), 10000);
        tell(QStringLiteral("focus %1").arg(ownId));
        tell(QStringLiteral("focus %1").arg(betaId));
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetAppId(), QStringLiteral("chat.beta"), 10000);
        tell(QStringLiteral("title %1 Chat beta — customer 2").arg(betaId));
        QTRY_COMPARE_WITH_TIMEOUT(send_->tracker().lastTarget()->title,
                                  QStringLiteral("Chat beta — customer 2"), 10000);
        tell(QStringLiteral("focus %1").arg(ownId));
        QTest::qWait(200);
        QCOMPARE(send_->targetAppId(), QStringLiteral("chat.beta"));
        // Event-driven: the tracker never asked the shell for the focused window.
        QCOMPARE(lines().mid(before).count(QStringLiteral("focused?")), 0);

        // Activation goes through the extension.
        QVERIFY(send_->activate(apps[0]));
        QVERIFY(lines().contains(QStringLiteral("activate %1").arg(alphaId)));
        QCOMPARE(backend().focus(apps[0].window), DesktopBackend::Focus::Target);
        QCOMPARE(backend().focus(apps[1].window), DesktopBackend::Focus::Elsewhere);
        QCOMPARE(backend().focus(apps[0].window | 0x1234), DesktopBackend::Focus::Gone);
        tell(QStringLiteral("focus %1").arg(ownId));
        QCOMPARE(backend().focus(apps[0].window), DesktopBackend::Focus::Own);
        tell(QStringLiteral("focus 0"));
        QCOMPARE(backend().focus(apps[0].window), DesktopBackend::Focus::Nowhere);
        tell(QStringLiteral("focus %1").arg(ownId));
    }

    // The target is brought back from this program, then each stroke is checked against the
    // shell's focus and typed through the portal: Ctrl as a key, V as the layout's keysym.
    void textThenEnter() {
        targetThenOwn(alphaId, QStringLiteral("chat.alpha"));
        const qsizetype before = lines().size();
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("你好 world"))}), true);
        const QStringList expected = QStringList{QStringLiteral("activate %1").arg(alphaId)} +
                                     pasted(QStringLiteral("text=你好 world")) + keypadEnter();
        QTRY_COMPARE_WITH_TIMEOUT(keysAndPastes(before), expected, 10000);
    }

    void textPictureTextInOrder() {
        targetThenOwn(alphaId, QStringLiteral("chat.alpha"));
        const qsizetype before = lines().size();
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("before")),
                                          PhraseJson::picture(QStringLiteral("pic.png")),
                                          PhraseJson::text(QStringLiteral("after"))}),
                      true);
        const QStringList expected =
            QStringList{QStringLiteral("activate %1").arg(alphaId)} + pasted(QStringLiteral("text=before")) +
            pasted(QStringLiteral("image=7x5")) + pasted(QStringLiteral("text=after")) + keypadEnter();
        QTRY_COMPARE_WITH_TIMEOUT(keysAndPastes(before), expected, 10000);
    }

    // The agent clicks into another chat after the first piece: nothing more is typed, the Enter
    // above all, and the target is not fought back.
    void focusMovedMidSendStops() {
        targetThenOwn(alphaId, QStringLiteral("chat.alpha"));
        tell(QStringLiteral("steal %1").arg(betaId));
        const qsizetype before = lines().size();
        send_->clearReports();
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("one")),
                                          PhraseJson::picture(QStringLiteral("pic.png")),
                                          PhraseJson::text(QStringLiteral("two"))}),
                      true);
        const QStringList expected =
            QStringList{QStringLiteral("activate %1").arg(alphaId)} + pasted(QStringLiteral("text=one"));
        QCOMPARE(keysAndPastes(before), expected);
        QTRY_COMPARE_WITH_TIMEOUT(send_->reports().size(), 1, 10000);
        QVERIFY2(send_->reports()[0].startsWith(QStringLiteral("未发送")), qPrintable(send_->reports()[0]));
        tell(QStringLiteral("focus %1").arg(ownId));
    }

    // The token the portal gave is presented at the next start, which asks the user nothing, and
    // the new token it gives replaces the used one.
    void restoreTokenReused() {
        const qsizetype before = lines().size();
        const QString saved = Settings().restoreToken();
        QVERIFY(!saved.isEmpty());
        {
            GnomeBackend again(settings_);
            QTRY_VERIFY_WITH_TIMEOUT(again.canType(), 10000);
        }
        QStringList got = lines().mid(before);
        QCOMPARE(got.filter(QStringLiteral("select-devices")),
                 QStringList{QStringLiteral("select-devices types=1 persist=2 token=") + saved});
        QCOMPARE(got.count(QStringLiteral("consent")), 0);
        const QString next = Settings().restoreToken();
        QVERIFY(!next.isEmpty() && next != saved);

        // A third start with the newest token asks nothing either.
        {
            GnomeBackend third(settings_);
            QTRY_VERIFY_WITH_TIMEOUT(third.canType(), 10000);
        }
        got = lines().mid(before);
        QCOMPARE(got.count(QStringLiteral("consent")), 0);
        QVERIFY(got.contains(QStringLiteral("select-devices types=1 persist=2 token=") + next));
    }

    // The user cancels the permission dialog: one plain sentence, no key ever, the rest works.
    void refusalSaidOnceAndNothingTyped() {
        tell(QStringLiteral("refuse"));
        Settings().setRestoreToken(QString());
        StandardOutput output;
        GnomeBackend refused(settings_);
        QVERIFY(refused.available());
        QTRY_COMPARE_WITH_TIMEOUT(output.soFar().count(QStringLiteral("此桌面不允许模拟按键：")), 1, 10000);
        QCOMPARE(output.soFar().count(QStringLiteral("此桌面不允许模拟按键：用户拒绝了远程控制请求")), 1);
        QVERIFY(lines().contains(QStringLiteral("refused")));
        QVERIFY(!refused.canType());
        const qsizetype before = lines().size();
        tell(QStringLiteral("focus %1").arg(alphaId));
        const quint64 alpha = refused.runningApplications().at(0).window;
        QCOMPARE(refused.focus(alpha), DesktopBackend::Focus::Target);
        for (int i = 0; i < 2; ++i)
            QCOMPARE(refused.strokeInto(alpha, {DesktopBackend::Key::V, true, false}),
                     DesktopBackend::StrokeResult::Failed);
        QVERIFY(!refused.keyStroke(DesktopBackend::Key::Enter, false));
        QCOMPARE(keysAndPastes(before), QStringList{});
        QCOMPARE(output.soFar().count(QStringLiteral("此桌面不允许模拟按键：")), 1);
        QVERIFY(Settings().restoreToken().isEmpty());
        tell(QStringLiteral("focus %1").arg(ownId));
    }

    void missingPortalSaidOnce() {
        tell(QStringLiteral("portal off"));
        StandardOutput output;
        GnomeBackend without(settings_);
        QVERIFY(without.available());
        QTRY_COMPARE_WITH_TIMEOUT(
            output.soFar().count(QStringLiteral("此桌面不允许模拟按键：缺少桌面门户的远程桌面接口")), 1,
            10000);
        QVERIFY(!without.canType());
        QCOMPARE(without.runningApplications().size(), 3);
    }
};

QUILLORA_X11_TEST_MAIN_PREPARED(SendGnomeTest, SessionBus bus; if (!bus.start()) qFatal("no dbus-daemon"))
#include "tst_send_gnome.moc"
