#include "eventloopwait.h"
#include "phrasejson.h"
#include "send/clipboardutil.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "sendtesting.h"
#include "store/localpath.h"
#include "ui/sendbutton.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QEnterEvent>
#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QVBoxLayout>
#include <QtTest>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

// One pastetarget process and its log.
struct Target {
    std::unique_ptr<QProcess> process = std::make_unique<QProcess>();
    QString log;
    qint32 pid = 0;

    QStringList lines(const QString &suffix = {}) const { return SendTesting::logLines(log + suffix); }
};

qint32 ownPid() {
    return qint32(QCoreApplication::applicationPid());
}

// What the tracker told its listeners, in order.
struct TrackerLog : QObject {
    QList<TargetWindowTracker::Change> changes;
    explicit TrackerLog(TargetWindowTracker &tracker) {
        connect(&tracker, &TargetWindowTracker::changed, this,
                [this](TargetWindowTracker::Change c) { changes << c; });
    }
};

// Sets a property of any window, as another client of the display would.
void setWindowProperty(quint64 window, const char *name, const char *type, int format, const void *data,
                       int count) {
    Display *dpy = XOpenDisplay(nullptr);
    XChangeProperty(dpy, Window(window), XInternAtom(dpy, name, False), XInternAtom(dpy, type, False), format,
                    PropModeReplace, static_cast<const unsigned char *>(data), count);
    XSync(dpy, False);
    XCloseDisplay(dpy);
}

quint64 rootWindow() {
    Display *dpy = XOpenDisplay(nullptr);
    const quint64 root = DefaultRootWindow(dpy);
    XCloseDisplay(dpy);
    return root;
}

// A click with the real pointer, through the X server and the window manager.
void clickAt(const QPoint &global) {
    Display *dpy = XOpenDisplay(nullptr);
    XTestFakeMotionEvent(dpy, -1, global.x(), global.y(), CurrentTime);
    XTestFakeButtonEvent(dpy, 1, True, CurrentTime);
    XTestFakeButtonEvent(dpy, 1, False, CurrentTime);
    XSync(dpy, False);
    XCloseDisplay(dpy);
}

} // namespace

class SendX11Test : public QObject {
    Q_OBJECT

private:
    QTemporaryDir logs_;
    std::vector<std::unique_ptr<Target>> targets_;
    QWidget own_;
    QLineEdit *ownField_ = nullptr;
    QByteArray png_, jpeg_;
    std::unique_ptr<SendTesting> send_;

    std::optional<RunningApplication> applicationOf(qint32 pid) const { return send_->applicationOf(pid); }
    std::optional<RunningApplication> windowTitled(const QString &title) const {
        return send_->windowTitled(title);
    }
    qint32 frontPid() const { return send_->frontPid(); }
    qint32 targetPid() const { return send_->targetPid(); }
    quint64 targetWindow() const { return send_->targetWindow(); }
    bool activated(const RunningApplication &app) const {
        return send_->activate(app) && send_->isActive(app);
    }

    Target &startTarget(const QStringList &args) {
        auto t = std::make_unique<Target>();
        t->log = logs_.filePath(QStringLiteral("target%1.log").arg(targets_.size()));
        t->process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        t->process->start(QStringLiteral(PASTETARGET_BINARY),
                          QStringList{QStringLiteral("--log"), t->log} + args);
        t->pid = qint32(t->process->processId());
        targets_.push_back(std::move(t));
        return *targets_.back();
    }

    // Brings the target to the front and lets the tracker see it, then clicks back into this
    // program, which must not become the target.
    void makeTargetThenFocusOwn(const Target &t) {
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(t.pid).has_value(), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(send_->activate(*applicationOf(t.pid)) && frontPid() == t.pid, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(targetPid(), t.pid, 10000);
        focusOwn();
        send_->clearReports();
    }

    // The same for one window found by its title (a program with several, or one without a pid).
    void makeWindowTargetThenFocusOwn(const QString &title) {
        QTRY_VERIFY_WITH_TIMEOUT(windowTitled(title).has_value(), 60000);
        const RunningApplication window = *windowTitled(title);
        QTRY_VERIFY_WITH_TIMEOUT(activated(window), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(
            send_->tracker().lastTarget() && send_->tracker().lastTarget()->window == window.window, 10000);
        focusOwn();
        send_->clearReports();
    }

    // What the target logged for this send, once count lines are in.
    QStringList sendAndRead(const Target &t, const QString &json, bool isEnter, qsizetype count) {
        return send_->sendAndRead(json, isEnter, t.log, count);
    }

    QString textPictureText() const {
        return PhraseJson::phrase({PhraseJson::text(QStringLiteral("before")),
                                   PhraseJson::picture(QStringLiteral("pic.png")),
                                   PhraseJson::text(QStringLiteral("after"))});
    }

    // What a text-picture-text phrase with Enter must leave in a target, in this order.
    void verifyTextPictureTextEnter(const QStringList &got) {
        QCOMPARE(got.size(), 4);
        QVERIFY2(got[0].endsWith(QStringLiteral(" text=before")), qPrintable(got.join(QLatin1Char('|'))));
        QVERIFY2(got[1].endsWith(QStringLiteral(" image=7x5 bytes=%1").arg(png_.size())),
                 qPrintable(got.join(QLatin1Char('|'))));
        QVERIFY2(got[2].endsWith(QStringLiteral(" text=after")), qPrintable(got.join(QLatin1Char('|'))));
        QCOMPARE(got[3], QStringLiteral("enter keypad"));
    }

    void focusOwn() {
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(ownPid()).has_value(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(send_->activate(*applicationOf(ownPid())) && frontPid() == ownPid(), 10000);
        QTest::qWait(4 * TargetWindowTracker::periodMs);
    }

    // Sends and waits until the send block is over and its keys have been played.
    void sendAndSettle(const QString &json, bool isEnter) {
        QVERIFY(send_->sendAndSettle(json, isEnter));
        QTest::qWait(300);
    }

    // After focus moved behind the window manager's back, the window it has active gets the focus
    // again: otherwise activating the window that was left focused changes nothing the manager
    // sees, and it never announces it.
    void handFocusBackToTheWindowManager() {
        const auto active = send_->desktop().activeApplication();
        Display *display = XOpenDisplay(nullptr);
        if (active && display)
            XSetInputFocus(display, Window(active->window), RevertToParent, CurrentTime);
        if (display)
            XCloseDisplay(display);
    }

    static QString clipboardText() { return QGuiApplication::clipboard()->text(); }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(logs_.isValid());
        LocalPath::initDirs();
        png_ = SendTesting::writePicture();
        QVERIFY(!png_.isEmpty());
        QBuffer jpegBuffer(&jpeg_);
        QVERIFY(QImage(9, 4, QImage::Format_RGB32).save(&jpegBuffer, "JPG"));
        QFile jpeg(LocalPath::imageDir() + QStringLiteral("/photo.jpg"));
        QVERIFY(jpeg.open(QIODevice::WriteOnly) && jpeg.write(jpeg_) == jpeg_.size());

        send_ = std::make_unique<SendTesting>();
        ownField_ = new QLineEdit(&own_);
        (new QVBoxLayout(&own_))->addWidget(ownField_);
        own_.setWindowTitle(QStringLiteral("own window"));
        own_.resize(300, 60);
        own_.show();
        // The first window of a fresh display can take long on a loaded machine (fonts, the
        // window manager still starting).
        QVERIFY(QTest::qWaitForWindowExposed(&own_, 60000));
    }

    void cleanupTestCase() {
        for (auto &t : targets_) {
            t->process->terminate();
            t->process->waitForFinished(3000);
        }
    }

    void describesWindowsOfOtherPrograms() {
        Target &t = startTarget({QStringLiteral("--class"), QStringLiteral("PasteTargetA"),
                                 QStringLiteral("--title"), QStringLiteral("Chat A")});
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(t.pid).has_value(), 60000);
        const RunningApplication app = *applicationOf(t.pid);
        QCOMPARE(app.appId, std::optional<QString>(QStringLiteral("PasteTargetA")));
        QCOMPARE(app.title, QStringLiteral("Chat A"));
        QCOMPARE(send_->applicationWithId(QStringLiteral("PasteTargetA"))->pid, t.pid);
        QVERIFY(!send_->applicationWithId(QStringLiteral("NoSuchProgram")));
        const QImage icon = send_->desktop().icon(app.window);
        QVERIFY(!icon.isNull());
        QCOMPARE(icon.pixelColor(icon.width() / 2, icon.height() / 2), QColor(200, 30, 60));
        QTRY_VERIFY_WITH_TIMEOUT(activated(app), 10000);
    }

    // This program has been in front since the tracker started: there is no target yet.
    void nothingIsSentWithoutTarget() {
        focusOwn();
        send_->tracker().start();
        QTest::qWait(4 * TargetWindowTracker::periodMs);
        QVERIFY(send_->tracker().isStarted());
        QVERIFY(!send_->tracker().lastTarget());
        QVERIFY(ClipboardUtil(send_->desktop()).setText(QStringLiteral("sentinel")));
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("hello"))}), true);
        QCOMPARE(targets_[0]->lines(), QStringList());
        QCOMPARE(clipboardText(), QStringLiteral("sentinel"));
        QVERIFY(ownField_->text().isEmpty());
    }

    // The target stays the chat window while this program is in front; a double-click pastes
    // only, the send button adds the keypad Enter.
    void textPhraseWithAndWithoutEnter() {
        Target &t = *targets_[0];
        makeTargetThenFocusOwn(t);
        QCOMPARE(targetPid(), t.pid);
        QStringList got =
            sendAndRead(t, PhraseJson::phrase({PhraseJson::text(QStringLiteral("你好 world"))}), false, 1);
        QCOMPARE(got.size(), 1);
        QVERIFY2(got[0].startsWith(QStringLiteral("paste types=")), qPrintable(got[0]));
        QVERIFY2(got[0].endsWith(QStringLiteral(" text=你好 world")), qPrintable(got[0]));
        QVERIFY(got[0].contains(QStringLiteral("text/plain")));
        QVERIFY(!got[0].contains(QStringLiteral("image/png")));

        focusOwn();
        QCOMPARE(targetPid(), t.pid);
        got = sendAndRead(t, PhraseJson::phrase({PhraseJson::text(QStringLiteral("second"))}), true, 2);
        QCOMPARE(got.size(), 2);
        QVERIFY2(got[0].endsWith(QStringLiteral(" text=second")), qPrintable(got[0]));
        QCOMPARE(got[1], QStringLiteral("enter keypad"));
        QVERIFY(ownField_->text().isEmpty());
    }

    void textPictureTextArrivesInOrder() {
        Target &t = *targets_[0];
        makeTargetThenFocusOwn(t);
        QCOMPARE(targetPid(), t.pid);
        const QStringList got = sendAndRead(t, textPictureText(), true, 4);
        verifyTextPictureTextEnter(got);
        if (QTest::currentTestFailed())
            return;
        QVERIFY(got[1].contains(QStringLiteral("image/png")));
        QVERIFY(!got[1].contains(QStringLiteral("text/plain")));
        // The earlier clipboard content is gone; the last piece stays.
        QCOMPARE(clipboardText(), QStringLiteral("after"));
        QVERIFY(ownField_->text().isEmpty());
    }

    // A missing file is skipped; a JPEG goes over unchanged, typed as PNG.
    void missingPictureSkippedJpegUnchanged() {
        Target &t = *targets_[0];
        makeTargetThenFocusOwn(t);
        QCOMPARE(targetPid(), t.pid);
        const QStringList got = sendAndRead(
            t,
            PhraseJson::phrase(
                {PhraseJson::text(QStringLiteral("a")), PhraseJson::picture(QStringLiteral("missing.png")),
                 PhraseJson::picture(QStringLiteral("photo.jpg")), PhraseJson::text(QStringLiteral("b"))}),
            false, 3);
        QCOMPARE(got.size(), 3);
        QVERIFY2(got[0].endsWith(QStringLiteral(" text=a")), qPrintable(got[0]));
        QVERIFY2(got[1].endsWith(QStringLiteral(" image=9x4 bytes=%1").arg(jpeg_.size())),
                 qPrintable(got[1]));
        QVERIFY2(got[2].endsWith(QStringLiteral(" text=b")), qPrintable(got[2]));
    }

    void secondSendWhileRunningIsDropped() {
        Target &t = *targets_[0];
        makeTargetThenFocusOwn(t);
        QCOMPARE(targetPid(), t.pid);
        const qsizetype before = t.lines().size();
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("first"))})), false);
        QVERIFY(send_->sender().isRunning());
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("dropped"))})), true);
        QVERIFY(EventLoopWait::until([this] { return !send_->sender().isRunning(); }, 20000));
        QTRY_COMPARE_WITH_TIMEOUT(t.lines().size(), before + 1, 10000);
        QTest::qWait(500);
        QCOMPARE(t.lines().size(), before + 1);
        QVERIFY2(t.lines().last().endsWith(QStringLiteral(" text=first")), qPrintable(t.lines().last()));
    }

    // The chat program with its own procedure, known by its WM_CLASS or by its desktop id.
    void specialTargetGetsLeftFirst_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("identifier");
        QTest::newRow("WM_CLASS") << QStringList{QStringLiteral("--class"), QStringLiteral("QQ")}
                                  << QStringLiteral("QQ");
        QTest::newRow("desktop id") << QStringList{QStringLiteral("--class"), QStringLiteral("Other"),
                                                   QStringLiteral("--desktop-id"),
                                                   QStringLiteral("com.tencent.qq")}
                                    << QStringLiteral("com.tencent.qq");
    }

    void specialTargetGetsLeftFirst() {
        QFETCH(QStringList, args);
        QFETCH(QString, identifier);
        Target &t = startTarget(args);
        makeTargetThenFocusOwn(t);
        QCOMPARE(targetPid(), t.pid);
        QCOMPARE(send_->tracker().lastTarget()->appId, std::optional<QString>(identifier));
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("hi"))}), true);
        QTRY_COMPARE_WITH_TIMEOUT(t.lines().size(), 3, 10000);
        QCOMPARE(t.lines()[0], QStringLiteral("left"));
        QVERIFY2(t.lines()[1].endsWith(QStringLiteral(" text=hi")), qPrintable(t.lines()[1]));
        QCOMPARE(t.lines()[2], QStringLiteral("enter keypad"));

        focusOwn();
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("x")),
                                          PhraseJson::picture(QStringLiteral("pic.png"))}),
                      false);
        QTRY_COMPARE_WITH_TIMEOUT(t.lines().size(), 6, 10000);
        QCOMPARE(t.lines()[3], QStringLiteral("left"));
        QVERIFY2(t.lines()[4].endsWith(QStringLiteral(" text=x")), qPrintable(t.lines()[4]));
        QVERIFY2(t.lines()[5].endsWith(QStringLiteral(" image=7x5 bytes=%1").arg(png_.size())),
                 qPrintable(t.lines()[5]));
    }

    // The target quit after the tracker saw it: nothing lands anywhere else.
    void closedTargetGetsNothing() {
        Target &t = startTarget({QStringLiteral("--class"), QStringLiteral("Closing")});
        makeTargetThenFocusOwn(t);
        QCOMPARE(targetPid(), t.pid);
        t.process->kill();
        QVERIFY(t.process->waitForFinished(10000));
        QTRY_VERIFY_WITH_TIMEOUT(!applicationOf(t.pid), 10000);
        QCOMPARE(targetPid(), t.pid);
        std::vector<qsizetype> before;
        for (auto &other : targets_)
            before.push_back(other->lines().size());
        QVERIFY(ClipboardUtil(send_->desktop()).setText(QStringLiteral("sentinel")));
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("lost"))}), true);
        QTest::qWait(500);
        for (size_t i = 0; i < targets_.size(); ++i)
            QCOMPARE(targets_[i]->lines().size(), before[i]);
        QVERIFY(ownField_->text().isEmpty());
        QCOMPARE(clipboardText(), QStringLiteral("sentinel"));
    }

    // A target that reads each paste again after its paste handler, as Chromium does, and one
    // that uses the data after it has handled the keys typed meanwhile, as GTK does.
    void slowAndAsynchronousTargetsGetEveryPieceBeforeEnter_data() {
        QTest::addColumn<QStringList>("args");
        QTest::newRow("second read after 150 ms")
            << QStringList{QStringLiteral("--reread"), QStringLiteral("150")};
        QTest::newRow("second read after 500 ms")
            << QStringList{QStringLiteral("--reread"), QStringLiteral("500")};
        QTest::newRow("data used 150 ms later")
            << QStringList{QStringLiteral("--async"), QStringLiteral("150")};
    }

    void slowAndAsynchronousTargetsGetEveryPieceBeforeEnter() {
        QFETCH(QStringList, args);
        Target &t = startTarget(args);
        makeTargetThenFocusOwn(t);
        for (int round = 0; round < 2; ++round) {
            const qsizetype before = t.lines().size();
            send_->sender().send(PhraseContent::fromJson(textPictureText()), true);
            QVERIFY(EventLoopWait::until([this] { return !send_->sender().isRunning(); }, 20000));
            QTRY_COMPARE_WITH_TIMEOUT(t.lines().size(), before + 4, 10000);
            verifyTextPictureTextEnter(t.lines().mid(before));
            focusOwn();
        }
        QVERIFY(send_->reports().isEmpty());
    }

    // A target stopped in the middle of a send, while another client reads every new clipboard
    // content the moment it appears (some window managers do): the target still gets its pieces
    // in order, once each.
    void stoppedTargetBesideClipboardReader() {
        Target &reader = startTarget({QStringLiteral("--watch")});
        Target &t = startTarget({QStringLiteral("--title"), QStringLiteral("Stopped")});
        QVERIFY(reader.process->waitForStarted());
        makeTargetThenFocusOwn(t);
        const qsizetype before = t.lines().size();
        send_->sender().send(PhraseContent::fromJson(textPictureText()), true);
        QTRY_VERIFY_WITH_TIMEOUT(t.lines().size() > before, 10000);
        ::kill(t.pid, SIGSTOP);
        QTest::qWait(1500);
        ::kill(t.pid, SIGCONT);
        QVERIFY(EventLoopWait::until([this] { return !send_->sender().isRunning(); }, 20000));
        QTest::qWait(300);
        verifyTextPictureTextEnter(t.lines().mid(before));
        reader.process->terminate();
    }

    // A terminal pastes with its own stroke (xterm: Shift+Insert from PRIMARY); Ctrl+V would be a
    // control character. The picture stays behind and the agent is told.
    void terminalGetsTextWithItsOwnStroke() {
        Target &t =
            startTarget({QStringLiteral("--terminal"), QStringLiteral("--class"), QStringLiteral("XTerm")});
        makeTargetThenFocusOwn(t);
        const QStringList got = sendAndRead(t, textPictureText(), true, 3);
        QCOMPARE(got.size(), 3);
        QVERIFY2(got[0].endsWith(QStringLiteral(" text=before")), qPrintable(got.join(QLatin1Char('|'))));
        QVERIFY2(got[1].endsWith(QStringLiteral(" text=after")), qPrintable(got.join(QLatin1Char('|'))));
        QCOMPARE(got[2], QStringLiteral("enter keypad"));
        QTRY_COMPARE(send_->reports(), QStringList{QString::fromUtf8("图片未发送：目标程序不接收图片")});
    }

    // A program that never asks for a picture gets the text around it, and the agent is told.
    void textOnlyTargetGetsTheText() {
        Target &t = startTarget({QStringLiteral("--text-only")});
        makeTargetThenFocusOwn(t);
        const QStringList got = sendAndRead(t, textPictureText(), true, 4);
        QCOMPARE(got.size(), 4);
        QVERIFY2(got[0].endsWith(QStringLiteral(" text=before")), qPrintable(got.join(QLatin1Char('|'))));
        QVERIFY2(got[1].startsWith(QStringLiteral("paste nothing")), qPrintable(got.join(QLatin1Char('|'))));
        QVERIFY2(got[2].endsWith(QStringLiteral(" text=after")), qPrintable(got.join(QLatin1Char('|'))));
        QCOMPARE(got[3], QStringLiteral("enter keypad"));
        QTRY_COMPARE(send_->reports(), QStringList{QString::fromUtf8("图片未发送：目标程序不接收图片")});
    }

    // The target is the window the agent was in, not its program: with one window per customer,
    // focus moved to the other one during a send drops the rest of the send there.
    void onlyTheTargetWindowOfAProgramGetsKeys() {
        Target &t = startTarget({QStringLiteral("--windows"), QStringLiteral("2"), QStringLiteral("--title"),
                                 QStringLiteral("Customer")});
        makeWindowTargetThenFocusOwn(QStringLiteral("Customer"));
        QTRY_VERIFY_WITH_TIMEOUT(windowTitled(QStringLiteral("Customer 2")).has_value(), 10000);
        const RunningApplication other = *windowTitled(QStringLiteral("Customer 2"));
        send_->sender().send(PhraseContent::fromJson(textPictureText()), true);
        QTRY_VERIFY_WITH_TIMEOUT(!t.lines().isEmpty(), 10000);
        QVERIFY(send_->activate(other));
        QVERIFY(EventLoopWait::until([this] { return !send_->sender().isRunning(); }, 20000));
        QTest::qWait(300);
        QCOMPARE(t.lines(QStringLiteral(".2")), QStringList());
        QVERIFY2(!t.lines().contains(QStringLiteral("enter keypad")),
                 qPrintable(t.lines().join(QLatin1Char('|'))));
        QTRY_COMPARE(send_->reports(), QStringList{QString::fromUtf8("未发送：已切换到其他窗口")});
        // Sent again from there, the phrase goes to the window the agent was in last.
        focusOwn();
        QCOMPARE(send_->tracker().lastTarget()->window, other.window);
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("second"))}), true);
        QTRY_COMPARE(t.lines(QStringLiteral(".2")).size(), 2);
        QVERIFY2(t.lines(QStringLiteral(".2"))[0].endsWith(QStringLiteral(" text=second")),
                 qPrintable(t.lines(QStringLiteral(".2"))[0]));
    }

    // This program's own window taking the focus during a send (a window manager that activates
    // the home window as it comes forward): the target is brought back and gets the whole send.
    void ownWindowInTheWayStepsAside() {
        Target &t = startTarget({QStringLiteral("--title"), QStringLiteral("Interrupted")});
        makeTargetThenFocusOwn(t);
        send_->sender().send(PhraseContent::fromJson(textPictureText()), true);
        QVERIFY(EventLoopWait::until([&t] { return !t.lines().isEmpty(); }, 10000));
        QVERIFY(send_->activate(*applicationOf(ownPid())));
        QVERIFY(EventLoopWait::until([this] { return !send_->sender().isRunning(); }, 20000));
        QTRY_COMPARE(t.lines().size(), 4);
        verifyTextPictureTextEnter(t.lines());
        QVERIFY(ownField_->text().isEmpty());
        QVERIFY(send_->reports().isEmpty());
    }

    // A window that does not say which process it belongs to is a target like any other.
    void windowWithoutProcessIdGetsThePhrase() {
        Target &t =
            startTarget({QStringLiteral("--no-pid"), QStringLiteral("--title"), QStringLiteral("No pid")});
        makeWindowTargetThenFocusOwn(QStringLiteral("No pid"));
        QCOMPARE(send_->tracker().lastTarget()->pid, -1);
        verifyTextPictureTextEnter(sendAndRead(t, textPictureText(), true, 4));
    }

    // A modifier held past the wait drops the whole send: no Enter on its own.
    void heldShiftSendsNothing() {
        Target &t = startTarget({QStringLiteral("--title"), QStringLiteral("Shift held")});
        makeTargetThenFocusOwn(t);
        Display *display = XOpenDisplay(nullptr);
        QVERIFY(display);
        const KeyCode shift = XKeysymToKeycode(display, XK_Shift_L);
        XTestFakeKeyEvent(display, shift, True, CurrentTime);
        XSync(display, False);
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("held"))}), true);
        XTestFakeKeyEvent(display, shift, False, CurrentTime);
        XSync(display, False);
        XCloseDisplay(display);
        QTest::qWait(300);
        QCOMPARE(t.lines(), QStringList());
        QTRY_COMPARE(send_->reports(),
                     QStringList{QString::fromUtf8("未发送：请先松开 Ctrl、Alt、Shift 键")});
    }

    // The keyboard focus jumping between the target and another program while sends run: the
    // other program never gets a key, and the target never gets an Enter without its text.
    void focusJumpingDuringSendsNeverMisplacesKeys() {
        Target &t = startTarget({QStringLiteral("--title"), QStringLiteral("Jumping target")});
        Target &bystander = startTarget({QStringLiteral("--title"), QStringLiteral("Bystander")});
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(bystander.pid).has_value(), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(t.pid).has_value(), 60000);
        const quint64 targetWindow = applicationOf(t.pid)->window;
        const quint64 bystanderWindow = applicationOf(bystander.pid)->window;
        for (int round = 0; round < 6; ++round) {
            makeTargetThenFocusOwn(t);
            const qsizetype before = t.lines().size();
            send_->sender().send(PhraseContent::fromJson(PhraseJson::phrase(
                                     {PhraseJson::text(QStringLiteral("round%1").arg(round))})),
                                 true);
            // Bypasses the window manager, as a program that grabs the focus itself does.
            std::thread jumper([this, targetWindow, bystanderWindow, round] {
                Display *display = XOpenDisplay(nullptr);
                for (int i = 0; display && send_->sender().isRunning(); ++i) {
                    XSetInputFocus(display, Window((i + round) % 2 ? bystanderWindow : targetWindow),
                                   RevertToParent, CurrentTime);
                    XSync(display, False);
                    QThread::usleep(700 + 300 * round);
                }
                if (display)
                    XCloseDisplay(display);
            });
            EventLoopWait::until([this] { return !send_->sender().isRunning(); }, 20000);
            jumper.join();
            handFocusBackToTheWindowManager();
            QVERIFY(!send_->sender().isRunning());
            QTest::qWait(200);
            const QStringList got = t.lines().mid(before);
            const QString all = got.join(QLatin1Char('|'));
            if (got.contains(QStringLiteral("enter keypad")))
                QVERIFY2(got.size() == 2 && got[0].endsWith(QStringLiteral(" text=round%1").arg(round)),
                         qPrintable(all));
            QCOMPARE(bystander.lines(), QStringList());
        }
    }

    // The window in front is announced, not polled: moving between two programs of other makers
    // (xterm and a paste target) retargets, a title the terminal sets for itself and an icon set
    // by another client reach the listeners, a real click into this program keeps the target.
    void trackerFollowsProgramsOnTheirWord() {
        const QString xterm = QStandardPaths::findExecutable(QStringLiteral("xterm"));
        QVERIFY2(!xterm.isEmpty(), "xterm is missing: run scripts/setup");
        send_->tracker().start();
        QVERIFY(send_->tracker().isTold());
        const QString fifo = logs_.filePath(QStringLiteral("title.fifo"));
        QCOMPARE(mkfifo(qPrintable(fifo), 0600), 0);
        // The shell renames its terminal with the line the test writes into the fifo.
        QProcess terminal;
        terminal.start(
            xterm,
            {QStringLiteral("-class"), QStringLiteral("IdleTerm"), QStringLiteral("-title"),
             QStringLiteral("Terminal before"), QStringLiteral("-e"), QStringLiteral("sh"),
             QStringLiteral("-c"),
             QStringLiteral("until read t < '%1'; do sleep 0.1; done; printf '\\033]2;%s\\007' \"$t\"; "
                            "exec sleep 600")
                 .arg(fifo)});
        Target &chat = startTarget({QStringLiteral("--title"), QStringLiteral("Chat beside terminal")});
        QTRY_VERIFY_WITH_TIMEOUT(windowTitled(QStringLiteral("Terminal before")).has_value(), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(chat.pid).has_value(), 60000);
        const RunningApplication term = *windowTitled(QStringLiteral("Terminal before"));
        const RunningApplication chatWindow = *applicationOf(chat.pid);

        // Both windows took the focus as they appeared; the last one is the target by now.
        QTRY_VERIFY_WITH_TIMEOUT(targetWindow() == term.window || targetWindow() == chatWindow.window, 10000);
        TrackerLog log(send_->tracker());
        for (int i = 0; i < 3; ++i) {
            const RunningApplication &app = targetWindow() == term.window ? chatWindow : term;
            log.changes.clear();
            QTRY_VERIFY_WITH_TIMEOUT(activated(app), 10000);
            QTRY_COMPARE_WITH_TIMEOUT(targetWindow(), app.window, 10000);
            QVERIFY(!log.changes.isEmpty());
            QCOMPARE(log.changes.count(TargetWindowTracker::Change::Target), log.changes.size());
        }
        if (targetWindow() != term.window) {
            QTRY_VERIFY_WITH_TIMEOUT(activated(term), 10000);
            QTRY_COMPARE_WITH_TIMEOUT(targetWindow(), term.window, 10000);
        }

        // The terminal retitles itself. The line waits in the fifo, held open here, for whenever the
        // shell gets to read it.
        log.changes.clear();
        const int fd = open(qPrintable(fifo), O_RDWR | O_NONBLOCK);
        QVERIFY(fd >= 0);
        const auto closeFifo = qScopeGuard([fd] { close(fd); });
        QCOMPARE(write(fd, "Terminal after\n", 15), 15);
        QTRY_COMPARE_WITH_TIMEOUT(send_->tracker().lastTarget()->title, QStringLiteral("Terminal after"),
                                  30000);
        QVERIFY(log.changes.contains(TargetWindowTracker::Change::Name));
        QVERIFY(!log.changes.contains(TargetWindowTracker::Change::Target));

        // Another client gives the terminal a green icon.
        log.changes.clear();
        std::vector<long> icon{16, 16};
        icon.resize(2 + 16 * 16, long(0xff00c000));
        setWindowProperty(term.window, "_NET_WM_ICON", "CARDINAL", 32, icon.data(), int(icon.size()));
        QTRY_COMPARE_WITH_TIMEOUT(log.changes, QList{TargetWindowTracker::Change::Icon}, 10000);
        QCOMPARE(send_->desktop().icon(send_->tracker().lastTarget()->window).pixelColor(8, 8),
                 QColor(0, 0xc0, 0));

        // A real click into this program: our window comes in front, the target stays.
        log.changes.clear();
        own_.raise();
        clickAt(own_.mapToGlobal(own_.rect().center()));
        QTRY_COMPARE_WITH_TIMEOUT(frontPid(), ownPid(), 10000);
        QTest::qWait(200); // lets any announcement that came with the click reach the tracker
        QCOMPARE(targetWindow(), term.window);
        QCOMPARE(log.changes, QList<TargetWindowTracker::Change>());

        // The terminal goes away while it is the target: the target is kept until another
        // program comes in front, and the watch goes on.
        terminal.kill();
        terminal.waitForFinished(5000);
        focusOwn();
        QCOMPARE(targetWindow(), term.window);
        QTRY_VERIFY_WITH_TIMEOUT(activated(chatWindow), 10000);
        QTRY_COMPARE_WITH_TIMEOUT(targetWindow(), chatWindow.window, 10000);
    }

    // A window announced as active that no longer exists (or never did) harms nothing: the target
    // is kept, and the next announcement is heard.
    void vanishedActiveWindowIsHarmless() {
        send_->tracker().start();
        Target &t = startTarget({QStringLiteral("--title"), QStringLiteral("Survivor")});
        makeTargetThenFocusOwn(t);
        const quint64 survivor = applicationOf(t.pid)->window;
        TrackerLog log(send_->tracker());
        Display *dpy = XOpenDisplay(nullptr);
        const Window gone = XCreateSimpleWindow(dpy, DefaultRootWindow(dpy), 0, 0, 10, 10, 0, 0, 0);
        XDestroyWindow(dpy, gone);
        XSync(dpy, False);
        XCloseDisplay(dpy);
        const long ids[2] = {long(gone), long(survivor)};
        // What a window manager may announce in a hurry: a window already destroyed, then a live one.
        setWindowProperty(rootWindow(), "_NET_ACTIVE_WINDOW", "WINDOW", 32, &ids[0], 1);
        QTest::qWait(200);
        QCOMPARE(targetWindow(), survivor);
        QCOMPARE(log.changes, QList<TargetWindowTracker::Change>());
        setWindowProperty(rootWindow(), "_NET_ACTIVE_WINDOW", "WINDOW", 32, &ids[1], 1);
        const QByteArray title = "Survivor renamed";
        setWindowProperty(survivor, "_NET_WM_NAME", "UTF8_STRING", 8, title.constData(), int(title.size()));
        QTRY_COMPARE_WITH_TIMEOUT(send_->tracker().lastTarget()->title, QString::fromUtf8(title), 10000);
        QCOMPARE(log.changes, QList{TargetWindowTracker::Change::Name});
        // The window manager's own word again: it moves the focus to another window, and says so.
        // Not to the survivor: after the announcements written behind its back, the manager may take
        // the survivor for focused already and have nothing to announce.
        const RunningApplication other = *applicationOf(targets_[0]->pid);
        QTRY_VERIFY_WITH_TIMEOUT(activated(other), 10000);
        QTRY_COMPARE_WITH_TIMEOUT(targetWindow(), other.window, 10000);
        focusOwn();
    }

    void sendButtonHighlightsOnHover() {
        SendButton button;
        button.resize(60, 40);
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button, 20000));
        QVERIFY(button.text().isEmpty());
        const QColor plain = button.grab().toImage().pixelColor(30, 10);
        QEnterEvent enter(QPointF(30, 10), QPointF(30, 10), QPointF(30, 10));
        QApplication::sendEvent(&button, &enter);
        QVERIFY(button.isHighlighted());
        QVERIFY(button.grab().toImage().pixelColor(30, 10) != plain);
        QMouseEvent below(QEvent::MouseMove, QPointF(30, 35), QPointF(30, 35), Qt::NoButton, Qt::NoButton,
                          Qt::NoModifier);
        QApplication::sendEvent(&button, &below);
        QVERIFY(!button.isHighlighted());
        QMouseEvent above(QEvent::MouseMove, QPointF(30, 5), QPointF(30, 5), Qt::NoButton, Qt::NoButton,
                          Qt::NoModifier);
        QApplication::sendEvent(&button, &above);
        QVERIFY(button.isHighlighted());
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(&button, &leave);
        QVERIFY(!button.isHighlighted());
        QCOMPARE(button.grab().toImage().pixelColor(30, 10), plain);
    }

    // Runs last: content that does not parse blocks every later send for the life of the process.
    void unparsablePhraseBlocksLaterSends() {
        Target &t = *targets_[0];
        makeTargetThenFocusOwn(t);
        QCOMPARE(targetPid(), t.pid);
        const qsizetype before = t.lines().size();
        send_->sender().send(PhraseContent::fromJson(QStringLiteral("{not json")), true);
        QVERIFY(send_->sender().isRunning());
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("blocked"))})), true);
        QTest::qWait(1500);
        QVERIFY(send_->sender().isRunning());
        QCOMPARE(t.lines().size(), before);
    }
};

QUILLORA_X11_TEST_MAIN(SendX11Test)
#include "tst_send_x11.moc"
