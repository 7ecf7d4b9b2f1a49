#include "cloud/cloudclient.h"
#include "cloud/imageutil.h"
#include "model/settings.h"
#include "store/appfileutil.h"
#include "store/localpath.h"

#include "cloudservice.h"
#include "desktop.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <csignal>
#include <memory>

namespace {

constexpr int waitMs = 60000;

// QUILLORA_TEST_APP runs these tests against another build of the program (an older one, say).
QString appBinary() {
    return qEnvironmentVariable("QUILLORA_TEST_APP", QStringLiteral(QUILLORA_APP));
}

// Windows come and go while the tree is walked; a window gone meanwhile is simply not counted.
int ignoreErrors(Display *, XErrorEvent *) {
    return 0;
}

Display *xDisplay() {
    static Display *d = [] {
        XSetErrorHandler(ignoreErrors);
        return XOpenDisplay(nullptr);
    }();
    return d;
}

void collectViewable(Window w, qint64 pid, QList<quint64> &out) {
    XWindowAttributes attributes;
    if (XGetWindowAttributes(xDisplay(), w, &attributes) && attributes.map_state == IsViewable &&
        desktop::windowPid(w) == pid)
        out.append(w);
    Window root = 0, parent = 0, *children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(xDisplay(), w, &root, &parent, &children, &count))
        return;
    for (unsigned i = 0; i < count; ++i)
        collectViewable(children[i], pid, out);
    if (children)
        XFree(children);
}

// Every window of the process that is on screen: top-levels, menus, the quick bar, tray icons.
QList<quint64> viewableWindowsOf(qint64 pid) {
    QList<quint64> out;
    collectViewable(DefaultRootWindow(xDisplay()), pid, out);
    return out;
}

// What the window manager's close button does.
void closeWindow(quint64 window) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = Window(window);
    event.xclient.message_type = XInternAtom(xDisplay(), "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = long(XInternAtom(xDisplay(), "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(xDisplay(), Window(window), False, NoEventMask, &event);
    XSync(xDisplay(), False);
}

void rightClick(QPoint at) {
    desktop::pointerTo(at);
    XTestFakeButtonEvent(xDisplay(), 3, True, CurrentTime);
    XTestFakeButtonEvent(xDisplay(), 3, False, CurrentTime);
    XSync(xDisplay(), False);
}

// One user's folders: settings, runtime (the instance socket) and library, all fresh.
struct UserDirs {
    QTemporaryDir config, runtime, home;

    // account ("name:password") signs in by itself.
    QProcessEnvironment environment(const QString &serviceUrl, const QString &account = {}) const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_CONFIG_HOME", config.path());
        env.insert("XDG_RUNTIME_DIR", runtime.path());
        env.insert("QUILLORA_HOME", home.path());
        if (!serviceUrl.isEmpty())
            env.insert("QUILLORA_SERVICE_URL", serviceUrl);
        else
            env.remove("QUILLORA_SERVICE_URL");
        // The tray is the X11 one of the test display, never a status notifier on some session bus.
        env.remove("DBUS_SESSION_BUS_ADDRESS");
        env.remove("QUILLORA_SCREENSHOT");
        if (account.isEmpty())
            env.remove("QUILLORA_AUTOLOGIN");
        else
            env.insert("QUILLORA_AUTOLOGIN", account);
        return env;
    }
};

// One start of the real program; its output is gathered while the test's event loop runs.
class AppRun {
public:
    AppRun(const QProcessEnvironment &env, const QStringList &args = {}, bool oneCpu = false) {
        process_.setProcessEnvironment(env);
        process_.setProcessChannelMode(QProcess::MergedChannels);
        QObject::connect(&process_, &QProcess::readyRead, [this] { output_ += process_.readAll(); });
        if (oneCpu)
            process_.start("taskset", QStringList{"-c", "0", appBinary()} + args);
        else
            process_.start(appBinary(), args);
    }
    ~AppRun() {
        if (process_.state() != QProcess::NotRunning) {
            process_.kill();
            process_.waitForFinished(5000);
        }
    }

    bool contains(const QByteArray &text) const { return output_.contains(text); }
    bool waitFor(const QByteArray &text, int ms = waitMs) {
        return QTest::qWaitFor([&] { return contains(text); }, ms);
    }
    // Waits for the end without blocking the event loop (the test's proxy lives on it).
    bool waitForEnd(int ms = waitMs) {
        return QTest::qWaitFor([&] { return process_.state() == QProcess::NotRunning; }, ms);
    }
    // Started (or starting) and not yet ended.
    bool running() const { return process_.state() != QProcess::NotRunning; }
    int exitCode() const { return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1; }
    qint64 pid() const { return process_.processId(); }
    const QByteArray &output() const { return output_; }
    void killHard() {
        ::kill(pid_t(process_.processId()), SIGKILL);
        waitForEnd();
    }

private:
    QProcess process_;
    QByteArray output_;
};

// Closes the program's window as its close button does, once it has one.
bool closeWindowOf(const AppRun &app) {
    quint64 window = 0;
    if (!QTest::qWaitFor([&] { return (window = desktop::managedWindowOf(app.pid())) != 0; }, waitMs))
        return false;
    closeWindow(window);
    return true;
}

// The test display's system tray, while it runs.
class TrayHost {
public:
    bool start() {
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(TRAYHOST_BINARY);
        return QTest::qWaitFor(
            [&] {
                output_ += process_.readAllStandardOutput();
                return output_.contains("ready\n");
            },
            10000);
    }
    ~TrayHost() {
        process_.kill();
        process_.waitForFinished(5000);
    }
    // Where the first icon that docks can be clicked.
    std::optional<QPoint> waitForIcon() {
        static const QRegularExpression docked(QStringLiteral("docked 0x[0-9a-f]+ at (\\d+),(\\d+)"));
        QRegularExpressionMatch m;
        (void)QTest::qWaitFor(
            [&] {
                output_ += process_.readAllStandardOutput();
                m = docked.match(QString::fromLatin1(output_));
                return m.hasMatch();
            },
            waitMs);
        if (!m.hasMatch())
            return std::nullopt;
        return QPoint(m.captured(1).toInt(), m.captured(2).toInt());
    }

private:
    QProcess process_;
    QByteArray output_;
};

// Forwards to the service and, once `allowed` picture downloads have gone through, holds every
// later one without an answer: the program is then caught in the middle of its downloads.
class StallingProxy : public QObject {
public:
    StallingProxy(quint16 target, int allowed) : target_(target), allowed_(allowed) {
        connect(&server_, &QTcpServer::newConnection, this, &StallingProxy::accept);
    }
    bool listen() { return server_.listen(QHostAddress::LocalHost); }
    QString baseUrl() const { return QStringLiteral("http://127.0.0.1:%1").arg(server_.serverPort()); }
    int downloadsSeen() const { return seen_; }
    bool stalled() const { return allowed_ >= 0 && seen_ > allowed_; }

private:
    void accept() {
        while (QTcpSocket *client = server_.nextPendingConnection()) {
            auto *upstream = new QTcpSocket(client);
            upstream->connectToHost(QHostAddress::LocalHost, target_);
            QPointer<QTcpSocket> up(upstream);
            connect(client, &QTcpSocket::readyRead, this, [this, client, up] {
                const QByteArray data = client->readAll();
                seen_ += int(data.count("getImage64"));
                if (up && !stalled())
                    up->write(data);
            });
            connect(upstream, &QTcpSocket::readyRead, client,
                    [client, upstream] { client->write(upstream->readAll()); });
            connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
        }
    }

    QTcpServer server_;
    quint16 target_;
    int allowed_;
    int seen_ = 0;
};

} // namespace

class TestLifecycle : public QObject {
    Q_OBJECT

    CloudService cloud_;
    static constexpr int pictureCount = 60;

    // Runs a later start to its end and returns its exit code.
    static int handOver(const UserDirs &user, const QStringList &args, QByteArray *output = nullptr) {
        AppRun run(user.environment({}), args);
        if (!run.waitForEnd())
            return -1;
        if (output)
            *output = run.output();
        return run.exitCode();
    }

    // Ends a running program the way `quillora --quit` does.
    static bool quitThroughHandOver(const UserDirs &user, AppRun &app) {
        return handOver(user, {"--quit"}) == 0 && app.waitForEnd() && app.exitCode() == 0;
    }

    // An account whose library holds one phrase of many pictures, all on the service.
    bool seedPictures() {
        if (!cloud_.addUser("pics", "secret-1"))
            return false;
        qputenv("QUILLORA_SERVICE_URL", cloud_.baseUrl().toUtf8());
        Settings settings;
        CloudClient client(settings);
        std::optional<bool> signedIn;
        client.signIn("pics", "secret-1", [&](const Result<QString> &r) { signedIn = r.isOk(); });
        if (!QTest::qWaitFor([&] { return signedIn.has_value(); }, waitMs) || !*signedIn)
            return false;
        client.setUsername("pics");
        std::optional<Result<QString>> cls;
        client.createClass("图片", "0", "pics", [&](const Result<QString> &r) { cls = r; });
        if (!QTest::qWaitFor([&] { return cls.has_value(); }, waitMs) || !*cls)
            return false;
        LocalPath::initDirs();
        QJsonArray content;
        int uploaded = 0;
        for (int i = 0; i < pictureCount; ++i) {
            QImage image(48, 48, QImage::Format_RGB32);
            image.fill(QColor::fromHsv(i * 6, 200, 200));
            QByteArray png;
            QBuffer buffer(&png);
            buffer.open(QIODevice::WriteOnly);
            image.save(&buffer, "PNG");
            const QString name = ImageUtil::fileNameOf(png);
            if (!AppFileUtil::saveImage(png, name))
                return false;
            client.uploadPicture(name, [&](const Result<void> &r) { uploaded += r.isOk() ? 1 : 1000; }, {});
            content.append(QJsonObject{{"type", 2}, {"value", name}});
        }
        if (!QTest::qWaitFor([&] { return uploaded >= pictureCount; }, waitMs) || uploaded != pictureCount)
            return false;
        std::optional<Result<QString>> phrase;
        client.createPhrase(cls->value(), "很多图片",
                            QString::fromUtf8(QJsonDocument(content).toJson(QJsonDocument::Compact)), "0",
                            "pics", [&](const Result<QString> &r) { phrase = r; });
        return QTest::qWaitFor([&] { return phrase.has_value(); }, waitMs) && phrase->isOk();
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(cloud_.start());
        QCOMPARE(cloud_.run({"demo"}), 0);
        QVERIFY(seedPictures());
        desktop::warmUpKeyboard();
    }

    // With a tray the icon is there from launch: closing the sign-in window leaves the program
    // reachable, and the menu's entries work before anyone has signed in.
    void trayFromLaunch() {
        TrayHost tray;
        QVERIFY(tray.start());
        UserDirs user;
        AppRun app(user.environment(cloud_.baseUrl()));
        const std::optional<QPoint> icon = tray.waitForIcon();
        QVERIFY2(icon, app.output().right(2000).constData());
        QVERIFY(closeWindowOf(app));
        // Shown again, the window is a new X window: what counts is whether the process has one.
        QTRY_COMPARE_WITH_TIMEOUT(desktop::managedWindowOf(app.pid()), quint64(0), waitMs);
        QTest::qWait(500);
        QVERIFY(app.running());

        // 显示窗口, then 开机自动启动 twice (it writes and removes the autostart entry), then 退出.
        const auto pick = [&](QList<unsigned long> keys) {
            const qsizetype before = viewableWindowsOf(app.pid()).size();
            rightClick(*icon);
            QTRY_VERIFY_WITH_TIMEOUT(viewableWindowsOf(app.pid()).size() > before, waitMs);
            QTest::qWait(500);
            for (unsigned long key : keys) {
                desktop::pressWith({}, key);
                QTest::qWait(100);
            }
        };
        pick({XK_Down, XK_Down, XK_Return});
        QTRY_VERIFY_WITH_TIMEOUT(desktop::managedWindowOf(app.pid()) != 0, waitMs);
        const QString entry = user.config.path() + "/autostart/quillora.desktop";
        pick({XK_Down, XK_Down, XK_Down, XK_Return});
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(entry), waitMs);
        QCOMPARE(QProcess::execute("desktop-file-validate", {entry}), 0);
        pick({XK_Down, XK_Down, XK_Down, XK_Return});
        QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(entry), waitMs);
        pick({XK_Up, XK_Return});
        QVERIFY(app.waitForEnd());
        QCOMPARE(app.exitCode(), 0);
    }

    // Without a tray, closing the sign-in window is the way out.
    void withoutTrayClosingTheWindowQuits() {
        UserDirs user;
        AppRun app(user.environment(cloud_.baseUrl()));
        QVERIFY(closeWindowOf(app));
        QVERIFY(app.waitForEnd());
        QCOMPARE(app.exitCode(), 0);
    }

    // A tray that comes up after the program (a panel starting at login): closing the window keeps
    // the program, and 快捷栏 picked while the home window is in front never ends it.
    void trayAppearingLater() {
        UserDirs user;
        QProcessEnvironment env = user.environment(cloud_.baseUrl(), "demo:demo123456");
        AppRun app(env);
        QVERIFY(app.waitFor("同步完毕"));
        TrayHost tray;
        QVERIFY(tray.start());
        const std::optional<QPoint> icon = tray.waitForIcon();
        QVERIFY(icon);
        const qsizetype before = viewableWindowsOf(app.pid()).size();
        rightClick(*icon);
        QTRY_VERIFY_WITH_TIMEOUT(viewableWindowsOf(app.pid()).size() > before, waitMs);
        QTest::qWait(300);
        desktop::pressWith({}, XK_Down);
        desktop::pressWith({}, XK_Return);
        // The quick bar came up; the program is still there to answer a later start.
        QTest::qWait(1000);
        QVERIFY(app.running());
        QCOMPARE(handOver(user, {"--show"}), 0);
        QVERIFY(app.waitFor("flag = "));
        QVERIFY(quitThroughHandOver(user, app));
    }

    // One program per user and display: a later start hands over and ends; a socket left by a
    // program that was killed does not keep the next one from starting.
    void oneInstance() {
        UserDirs user;
        QByteArray out;
        QCOMPARE(handOver(user, {"--version"}, &out), 0);
        QVERIFY(out.contains("quillora 1.0"));
        QCOMPARE(handOver(user, {"--quit"}, &out), 0);
        QVERIFY(out.contains("not running"));

        AppRun first(user.environment(cloud_.baseUrl()));
        QVERIFY(QTest::qWaitFor([&] { return desktop::managedWindowOf(first.pid()) != 0; }, waitMs));
        QCOMPARE(handOver(user, {}), 0);
        QVERIFY(first.waitFor("request from another start: show"));
        QVERIFY(first.waitFor("flag = true"));
        QVERIFY(first.running());
        first.killHard();

        // Two starts at the same moment: exactly one stays.
        AppRun a(user.environment(cloud_.baseUrl()));
        AppRun b(user.environment(cloud_.baseUrl()));
        QVERIFY(QTest::qWaitFor([&] { return !a.running() || !b.running(); }, waitMs));
        AppRun &stayed = a.running() ? a : b;
        AppRun &left = a.running() ? b : a;
        QCOMPARE(left.exitCode(), 0);
        QTest::qWait(500);
        QVERIFY(stayed.running());
        QVERIFY(quitThroughHandOver(user, stayed));
    }

    // Without a tray, the command line is the way to the quick bar (it toggles) and to the keyboard
    // palette, which takes the keyboard until Escape.
    void quickBarAndPaletteFromTheCommandLine() {
        UserDirs user;
        QProcessEnvironment env = user.environment(cloud_.baseUrl(), "demo:demo123456");
        AppRun app(env);
        QVERIFY(app.waitFor("同步完毕"));
        QTRY_COMPARE_WITH_TIMEOUT(viewableWindowsOf(app.pid()).size(), 1, waitMs);
        QCOMPARE(handOver(user, {"--quickbar"}), 0);
        QTRY_COMPARE_WITH_TIMEOUT(viewableWindowsOf(app.pid()).size(), 2, waitMs);
        QCOMPARE(handOver(user, {"--quickbar"}), 0);
        QTRY_COMPARE_WITH_TIMEOUT(viewableWindowsOf(app.pid()).size(), 1, waitMs);
        QCOMPARE(handOver(user, {"--palette"}), 0);
        QTRY_COMPARE_WITH_TIMEOUT(viewableWindowsOf(app.pid()).size(), 2, waitMs);
        QTRY_COMPARE_WITH_TIMEOUT(desktop::windowPid(desktop::activeWindow()), app.pid(), waitMs);
        desktop::pressWith({}, XK_Escape);
        QTRY_COMPARE_WITH_TIMEOUT(viewableWindowsOf(app.pid()).size(), 1, waitMs);
        QVERIFY(quitThroughHandOver(user, app));
    }

    void quitMidDownload_data() {
        QTest::addColumn<bool>("oneCpu");
        QTest::newRow("all CPUs") << false;
        QTest::newRow("one CPU") << true;
    }

    // Caught in the middle of the picture downloads (the service holds the third one), closing the
    // window of a program without a tray ends it.
    void quitMidDownload() {
        QFETCH(bool, oneCpu);
        StallingProxy proxy(cloud_.port(), 2);
        QVERIFY(proxy.listen());
        UserDirs user;
        AppRun app(user.environment(proxy.baseUrl(), "pics:secret-1"), {}, oneCpu);
        QVERIFY(QTest::qWaitFor([&] { return proxy.stalled(); }, waitMs));
        QVERIFY(app.waitFor("==========下载云图片。数量 60"));
        QVERIFY(closeWindowOf(app));
        QVERIFY(app.waitForEnd());
        QCOMPARE(app.exitCode(), 0);
    }

    // On one CPU the program starts, synchronises every picture and shows the library.
    void oneCpuStartsAndSyncs() {
        UserDirs user;
        QTemporaryDir shots;
        QProcessEnvironment env = user.environment(cloud_.baseUrl(), "pics:secret-1");
        env.insert("QUILLORA_SCREENSHOT", shots.filePath("home.png"));
        AppRun app(env, {}, true);
        QVERIFY(app.waitForEnd(3 * waitMs));
        QCOMPARE(app.exitCode(), 0);
        QVERIFY(app.contains("==================同步完毕"));
        QCOMPARE(QDir(user.home.path() + "/appData/image").entryList(QDir::Files).size(), pictureCount);
    }

    // The settings file is the one the README documents; one at the old place is moved there.
    void settingsFile() {
        const QByteArray ini = "[General]\nserviceUrl=" + cloud_.baseUrl().toUtf8() + "\n";
        for (const QString &place :
             {QStringLiteral("quillora/quillora.conf"), QStringLiteral("Quillora/Quillora.conf")}) {
            UserDirs user;
            QDir(user.config.path()).mkpath(QFileInfo(place).path());
            QFile file(user.config.filePath(place));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(ini);
            file.close();
            QTemporaryDir shots;
            QProcessEnvironment env = user.environment({}, "demo:demo123456");
            env.insert("QUILLORA_SCREENSHOT", shots.filePath("home.png"));
            AppRun app(env);
            QVERIFY2(app.waitForEnd(2 * waitMs), qPrintable(place));
            QVERIFY2(app.exitCode() == 0, app.output().right(2000).constData());
            QSettings settings(user.config.filePath("quillora/quillora.conf"), QSettings::IniFormat);
            QCOMPARE(settings.value("serviceUrl").toString(), cloud_.baseUrl());
            QCOMPARE(settings.value("username").toString(), QStringLiteral("demo"));
            QVERIFY(!QFile::exists(user.config.filePath("Quillora/Quillora.conf")));
        }
    }
};

QUILLORA_X11_TEST_MAIN(TestLifecycle)
#include "tst_lifecycle.moc"
