// Sending on a bare X display without a window manager: no _NET_ACTIVE_WINDOW, no client list;
// the back-end falls back to the focused window, the top-level windows and raise-and-focus.
#include "send/controller_service_window.h"
#include "send/sendjsonvalueutil.h"
#include "send/win32apiwindow.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

std::optional<RunningApplication> applicationOf(qint32 pid) {
    for (const RunningApplication &app : Win32ApiWindow::runningApplications())
        if (app.processIdentifier == pid)
            return app;
    return std::nullopt;
}

qint32 frontPid() {
    const auto front = Win32ApiWindow::getForeground();
    return front ? front->processIdentifier : -1;
}

} // namespace

class SendNoWmTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textArrivesWithoutWindowManager() {
        QTemporaryDir dir;
        const QString log = dir.filePath(QStringLiteral("target.log"));
        QProcess target;
        target.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        target.start(QStringLiteral(PASTETARGET_BINARY),
                     {QStringLiteral("--log"), log, QStringLiteral("--class"), QStringLiteral("BareTarget")});
        const auto pid = qint32(target.processId());
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(pid).has_value(), 60000);
        QCOMPARE(applicationOf(pid)->bundleIdentifier, std::optional<QString>(QStringLiteral("BareTarget")));

        QLineEdit own;
        own.show();
        QVERIFY(QTest::qWaitForWindowExposed(&own, 60000));
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(qint32(QCoreApplication::applicationPid())).has_value(),
                                 10000);

        QTRY_VERIFY_WITH_TIMEOUT(Win32ApiWindow::setForeguangd(*applicationOf(pid)) && frontPid() == pid,
                                 10000);
        controller_service_window::start();
        QTRY_VERIFY_WITH_TIMEOUT(controller_service_window::nowWindowFrom() &&
                                     controller_service_window::nowWindowFrom()->processIdentifier == pid,
                                 10000);
        const auto self = applicationOf(qint32(QCoreApplication::applicationPid()));
        QTRY_VERIFY_WITH_TIMEOUT(
            Win32ApiWindow::setForeguangd(*self) && frontPid() == self->processIdentifier, 10000);
        QTest::qWait(4 * controller_service_window::periodMs);

        SendJsonValueUtil::send(QStringLiteral("[{\"type\":1,\"value\":\"bare\"}]"), true);
        QTRY_VERIFY_WITH_TIMEOUT(!SendJsonValueUtil::runs(), 20000);
        const auto lines = [&log] {
            QFile file(log);
            return file.open(QIODevice::ReadOnly)
                       ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)
                       : QStringList();
        };
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

#include "test_send_nowm.moc"
