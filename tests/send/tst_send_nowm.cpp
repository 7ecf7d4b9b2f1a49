// Sending on a bare X display without a window manager: no _NET_ACTIVE_WINDOW, no client list;
// the back-end falls back to the focused window, the top-level windows and raise-and-focus.
#include "sendtesting.h"
#include "testenv.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class SendNoWmTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textArrivesWithoutWindowManager() {
        SendTesting send;
        const auto applicationOf = [&send](qint32 pid) { return send.applicationOf(pid); };
        QTemporaryDir dir;
        const QString log = dir.filePath(QStringLiteral("target.log"));
        QProcess target;
        target.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        target.start(QStringLiteral(PASTETARGET_BINARY),
                     {QStringLiteral("--log"), log, QStringLiteral("--class"), QStringLiteral("BareTarget")});
        const auto pid = qint32(target.processId());
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(pid).has_value(), 60000);
        QCOMPARE(applicationOf(pid)->appId, std::optional<QString>(QStringLiteral("BareTarget")));

        QLineEdit own;
        own.show();
        QVERIFY(QTest::qWaitForWindowExposed(&own, 60000));
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(qint32(QCoreApplication::applicationPid())).has_value(),
                                 10000);

        QTRY_VERIFY_WITH_TIMEOUT(send.activate(*applicationOf(pid)) && send.frontPid() == pid, 10000);
        send.tracker().start();
        QTRY_COMPARE_WITH_TIMEOUT(send.targetPid(), pid, 10000);
        const auto self = applicationOf(qint32(QCoreApplication::applicationPid()));
        QTRY_VERIFY_WITH_TIMEOUT(send.activate(*self) && send.frontPid() == self->pid, 10000);
        QTest::qWait(4 * TargetWindowTracker::periodMs);

        QVERIFY(send.sendAndSettle(QStringLiteral("[{\"type\":1,\"value\":\"bare\"}]"), true));
        const auto lines = [&log] { return SendTesting::logLines(log); };
        QTRY_COMPARE_WITH_TIMEOUT(lines().size(), 2, 10000);
        QVERIFY2(lines()[0].endsWith(QStringLiteral(" text=bare")), qPrintable(lines()[0]));
        QCOMPARE(lines()[1], QStringLiteral("enter keypad"));
        QVERIFY(own.text().isEmpty());

        target.terminate();
        target.waitForFinished(5000);
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    XvfbSession x11;
    if (!x11.start(false))
        qFatal("could not start Xvfb");
    QApplication app(argc, argv);
    SendNoWmTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_send_nowm.moc"
