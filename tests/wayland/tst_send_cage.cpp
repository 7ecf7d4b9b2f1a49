#include "desktop/desktopbackend.h"
#include "desktop/desktopsession.h"
#include "desktop/wayland/waylandbackend.h"
#include "desktop/x11/x11backend.h"
#include "phrasejson.h"
#include "sendtesting.h"
#include "standardoutput.h"
#include "store/localpath.h"
#include "waylandsession.h"

#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// Under a real compositor that offers other programs neither its windows, nor the clipboard, nor
// keys (cage): without XWayland the program says so and sends nothing; with it, the chat
// programs that run through XWayland still get their phrases.
class SendCageTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir_;
    QProcess target_;
    QString log_;

    QStringList lines() const { return SendTesting::logLines(log_); }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(dir_.isValid());
        LocalPath::initDirs();
    }

    void cleanupTestCase() {
        target_.terminate();
        if (!target_.waitForFinished(5000))
            target_.kill();
    }

    void withoutXWaylandSaysSoOnceAndTypesNothing() {
        const QByteArray display = qgetenv("DISPLAY");
        qunsetenv("DISPLAY");
        StandardOutput out;
        Settings settings;
        std::unique_ptr<DesktopBackend> chosen = DesktopSession::createBackend(settings);
        qputenv("DISPLAY", display);
        auto *backend = dynamic_cast<WaylandBackend *>(chosen.get());
        QVERIFY(backend);
        QVERIFY(!backend->available());
        QVERIFY(!backend->canType());
        QVERIFY(!backend->servesClipboard());
        QVERIFY(!backend->activeApplication());
        QVERIFY(backend->runningApplications().isEmpty());
        QVERIFY(!backend->setClipboard({{"text/plain;charset=utf-8", "x"}}, false));
        QVERIFY(!backend->keyStroke(DesktopBackend::Key::Enter, false));
        chosen.reset();
        const QString said = out.text();
        for (const char *line :
             {"此桌面不提供窗口列表：", "此桌面不允许在后台设置剪贴板：", "此桌面不允许模拟按键："})
            QVERIFY2(said.count(QString::fromUtf8(line)) == 1, qPrintable(said));
    }

    void xwaylandWindowsStillGetPhrases() {
        StandardOutput out;
        Settings settings;
        std::unique_ptr<DesktopBackend> chosen = DesktopSession::createBackend(settings);
        const QString said = out.text();
        QVERIFY(dynamic_cast<X11Backend *>(chosen.get()));
        QVERIFY2(said.contains(QStringLiteral("only XWayland windows can receive phrases")),
                 qPrintable(said));
        // The fallback does not speak for the back-end it left behind.
        QVERIFY2(!said.contains(QStringLiteral("此桌面")), qPrintable(said));
        SendTesting send(std::move(chosen));

        // cage gives the keyboard to the window that came last: the chat program.
        log_ = dir_.filePath(QStringLiteral("target.log"));
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        target_.setProcessEnvironment(env);
        target_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        target_.start(QStringLiteral(PASTETARGET_BINARY),
                      {QStringLiteral("--log"), log_, QStringLiteral("--class"), QStringLiteral("ChatCage"),
                       QStringLiteral("--title"), QStringLiteral("Chat in cage")});
        send.tracker().start();
        QTRY_COMPARE_WITH_TIMEOUT(send.targetPid(), qint32(target_.processId()), 60000);

        QVERIFY(
            send.sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("你好 cage"))}), true));
        QTRY_COMPARE_WITH_TIMEOUT(lines().size(), 2, 10000);
        QVERIFY2(lines()[0].endsWith(QStringLiteral(" text=你好 cage")),
                 qPrintable(lines().join(QLatin1Char('|'))));
        QCOMPARE(lines()[1], QStringLiteral("enter keypad"));
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    WaylandSession cage(WaylandSession::Compositor::Cage);
    if (QStandardPaths::findExecutable(QStringLiteral("cage")).isEmpty() || !cage.start())
        qFatal("could not start cage: run scripts/setup");
    QGuiApplication app(argc, argv);
    SendCageTest tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_send_cage.moc"
