#include "desktop/gnome/gnomebackend.h"
#include "model/settings.h"
#include "sendtesting.h"
#include "sessionbus.h"
#include "standardoutput.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// The GNOME back-end against a stand-in for the Shell extension and the desktop portal on a private
// session bus, for what a real GNOME Shell does not show (tst_send_gnomeshell runs the rest there):
// a portal that keeps the permission, one the user says no to, and none at all.
class SendGnomeTest : public QObject {
    Q_OBJECT

    QTemporaryDir logs_;
    QString log_;
    std::unique_ptr<QProcess> standin_;

    QStringList lines() const { return SendTesting::logLines(log_); }
    Settings settings_;

    // The shell with a chat window in front and this program's window, and the portal.
    void startStandin(const QStringList &options = {}) {
        stopStandin();
        log_ = logs_.filePath(QStringLiteral("standin%1.log").arg(++started_));
        standin_ = std::make_unique<QProcess>();
        standin_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        standin_->start(
            QStringLiteral(GNOMESTANDIN_BINARY),
            QStringList{
                QStringLiteral("--log"), log_, QStringLiteral("--window"),
                QStringLiteral("7:chat.alpha:4001:Chat alpha"), QStringLiteral("--window"),
                QStringLiteral("9:org.quillora.Quillora:%1:Quillora").arg(QCoreApplication::applicationPid()),
                QStringLiteral("--focus"), QStringLiteral("7")} +
                options);
        QVERIFY(standin_->waitForStarted(10000));
        QTRY_VERIFY_WITH_TIMEOUT(standin_->canReadLine(), 20000);
        QCOMPARE(standin_->readLine().trimmed(), QByteArray("ready"));
    }

    void stopStandin() {
        if (!standin_)
            return;
        standin_->terminate();
        if (!standin_->waitForFinished(5000))
            standin_->kill();
        standin_.reset();
    }

    int started_ = 0;

private Q_SLOTS:
    void initTestCase() { QVERIFY(logs_.isValid()); }
    void cleanupTestCase() { stopStandin(); }

    // Asked once, for keys only, to be kept until the user revokes it; the token the portal gave
    // is presented at the next start, which asks nothing, and the new token replaces the used one.
    void permissionAskedOnceThenRestored() {
        startStandin();
        Settings().setRestoreToken(QString());
        QStringList tokens;
        for (int start = 0; start < 3; ++start) {
            GnomeBackend backend(settings_);
            QVERIFY(backend.available());
            QTRY_VERIFY_WITH_TIMEOUT(backend.canType(), 10000);
            // The new token reaches the settings on this thread, after the portal's.
            QTRY_VERIFY_WITH_TIMEOUT(
                !settings_.restoreToken().isEmpty() && !tokens.contains(settings_.restoreToken()), 10000);
            tokens << settings_.restoreToken();
        }
        QCOMPARE(tokens,
                 (QStringList{QStringLiteral("token1"), QStringLiteral("token2"), QStringLiteral("token3")}));
        QCOMPARE(lines().filter(QStringLiteral("select-devices")),
                 (QStringList{QStringLiteral("select-devices types=1 persist=2 token=-"),
                              QStringLiteral("select-devices types=1 persist=2 token=token1"),
                              QStringLiteral("select-devices types=1 persist=2 token=token2")}));
        QCOMPARE(lines().count(QStringLiteral("consent")), 1);
    }

    // The user cancels the permission dialog: one plain sentence, no key ever, the windows still
    // known.
    void refusalSaidOnceAndNothingTyped() {
        startStandin({QStringLiteral("--refuse")});
        Settings().setRestoreToken(QString());
        StandardOutput output;
        GnomeBackend refused(settings_);
        QVERIFY(refused.available());
        QTRY_COMPARE_WITH_TIMEOUT(output.soFar().count(QStringLiteral("此桌面不允许模拟按键：")), 1, 10000);
        QCOMPARE(output.soFar().count(QStringLiteral("此桌面不允许模拟按键：用户拒绝了远程控制请求")), 1);
        QVERIFY(!refused.canType());
        const quint64 alpha = refused.runningApplications().at(0).window;
        QCOMPARE(refused.focus(alpha), DesktopBackend::Focus::Target);
        for (int i = 0; i < 2; ++i)
            QCOMPARE(refused.strokeInto(alpha, {DesktopBackend::Key::V, true, false}),
                     DesktopBackend::StrokeResult::Failed);
        QVERIFY(!refused.keyStroke(DesktopBackend::Key::Enter, false));
        QVERIFY(lines().filter(QStringLiteral("key")).isEmpty());
        QCOMPARE(output.soFar().count(QStringLiteral("此桌面不允许模拟按键：")), 1);
        QVERIFY(Settings().restoreToken().isEmpty());
    }

    void missingPortalSaidOnce() {
        startStandin({QStringLiteral("--no-portal")});
        StandardOutput output;
        GnomeBackend without(settings_);
        QVERIFY(without.available());
        QTRY_COMPARE_WITH_TIMEOUT(
            output.soFar().count(QStringLiteral("此桌面不允许模拟按键：缺少桌面门户的远程桌面接口")), 1,
            10000);
        QVERIFY(!without.canType());
        QCOMPARE(without.runningApplications().size(), 2);
    }
};

QUILLORA_X11_TEST_MAIN_PREPARED(SendGnomeTest, SessionBus bus; if (!bus.start()) qFatal("no dbus-daemon"))
#include "tst_send_gnome.moc"
