#include "phrasejson.h"
#include "send/desktopbackend.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "send/wayland/waylandbackend.h"
#include "send/windowactivation.h"
#include "store/localpath.h"
#include "testenv.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <unistd.h>

// The back-end against a real headless KWin, where it is installed (CI does not install it: it
// brings a whole desktop along), with a native Wayland paste target.
class SendKWinTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir_;
    QProcess kwin_, target_;
    QString log_;

    QStringList lines() const {
        QFile file(log_);
        return file.open(QIODevice::ReadOnly)
                   ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)
                   : QStringList();
    }

private Q_SLOTS:
    void initTestCase() {
        const QString kwin = QStandardPaths::findExecutable(QStringLiteral("kwin_wayland"));
        if (kwin.isEmpty() || QStandardPaths::findExecutable(QStringLiteral("dbus-run-session")).isEmpty())
            QSKIP("KWin is not installed");
        LocalPath::initDirs();
        // KWin carries a file capability that a container may not grant: a plain copy runs anywhere.
        const QString copy = dir_.filePath(QStringLiteral("kwin_wayland"));
        QVERIFY(QFile::copy(kwin, copy));
        const QString runtime = dir_.filePath(QStringLiteral("runtime")),
                      data = dir_.filePath(QStringLiteral("data"));
        QVERIFY(QDir().mkpath(runtime) && QDir().mkpath(data + QStringLiteral("/applications")));
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
        // dbus-run-session does not pass a termination on: KWin and the bus go as one group.
        kwin_.setChildProcessModifier([] { setpgid(0, 0); });
        kwin_.setStandardOutputFile(dir_.filePath(QStringLiteral("kwin.log")));
        kwin_.start(QStringLiteral("dbus-run-session"),
                    {QStringLiteral("--"), copy, QStringLiteral("--virtual"),
                     QStringLiteral("--no-lockscreen"), QStringLiteral("--socket"),
                     QStringLiteral("quillora-kwin"), QStringLiteral("--width"), QStringLiteral("1280"),
                     QStringLiteral("--height"), QStringLiteral("800")});
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(runtime + QStringLiteral("/quillora-kwin")), 30000);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
        qputenv("WAYLAND_DISPLAY", "quillora-kwin");

        log_ = dir_.filePath(QStringLiteral("target.log"));
        env.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("quillora-kwin"));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        target_.setProcessEnvironment(env);
        target_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        target_.start(QStringLiteral(PASTETARGET_BINARY),
                      {QStringLiteral("--log"), log_, QStringLiteral("--class"), QStringLiteral("chat.kwin"),
                       QStringLiteral("--title"), QStringLiteral("Chat KWin")});
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
        auto *backend = dynamic_cast<WaylandBackend *>(&DesktopBackend::instance());
        QVERIFY(backend && backend->available());
        QCOMPARE(backend->windowProtocol(), QStringLiteral("org_kde_plasma_window_management"));
        QCOMPARE(backend->keyProtocol(), QStringLiteral("org_kde_kwin_fake_input"));
        QVERIFY(backend->servesClipboard());
        QTRY_VERIFY_WITH_TIMEOUT(WindowActivation::getBundleIdentifier(QStringLiteral("chat.kwin")), 30000);
        const RunningApplication chat = *WindowActivation::getBundleIdentifier(QStringLiteral("chat.kwin"));
        QCOMPARE(chat.processIdentifier, qint32(target_.processId()));
        QCOMPARE(chat.localizedName, QStringLiteral("Chat KWin"));
        TargetWindowTracker::start();
        QVERIFY(WindowActivation::activate(chat));
        QTRY_COMPARE_WITH_TIMEOUT(
            TargetWindowTracker::lastTarget() ? TargetWindowTracker::lastTarget()->window : 0, chat.window,
            10000);

        PhraseSender::send(PhraseJson::phrase({PhraseJson::text(QStringLiteral("你好 KWin"))}), true);
        QTRY_VERIFY_WITH_TIMEOUT(!PhraseSender::runs(), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(lines().size(), 2, 10000);
        QVERIFY2(lines()[0].endsWith(QStringLiteral(" text=你好 KWin")), qPrintable(lines()[0]));
        QCOMPARE(lines()[1], QStringLiteral("enter keypad"));
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    SendKWinTest tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_send_kwin.moc"
