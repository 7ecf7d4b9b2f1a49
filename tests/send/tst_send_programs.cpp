// Sending into real programs of other makers under a private Xvfb with openbox: Chromium with a
// chat-like page that posts what its box holds to this test over loopback, a GTK 3 text field
// (zenity), the GTK text editor mousepad and xterm.
#include "chatpageserver.h"
#include "eventloopwait.h"
#include "phrasejson.h"
#include "sendtesting.h"
#include "store/localpath.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

void pressWithControl(KeySym key) {
    Display *display = XOpenDisplay(nullptr);
    const KeyCode control = XKeysymToKeycode(display, XK_Control_L), code = XKeysymToKeycode(display, key);
    XTestFakeKeyEvent(display, control, True, CurrentTime);
    XTestFakeKeyEvent(display, code, True, CurrentTime);
    XTestFakeKeyEvent(display, code, False, CurrentTime);
    XTestFakeKeyEvent(display, control, False, CurrentTime);
    XSync(display, False);
    XCloseDisplay(display);
}

} // namespace

class SendProgramsTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir dir_;
    QWidget own_;
    std::unique_ptr<SendTesting> send_;

    // The first window whose title holds title.
    std::optional<RunningApplication> windowTitled(const QString &title) const {
        for (const RunningApplication &app : send_->applications())
            if (app.title.contains(title))
                return app;
        return std::nullopt;
    }

    // Starts a program and waits for its window.
    std::unique_ptr<QProcess> start(const QString &program, const QStringList &args) {
        auto process = std::make_unique<QProcess>();
        process->setProcessChannelMode(QProcess::SeparateChannels);
        process->start(program, args);
        return process;
    }

    // The window becomes the target, then the agent clicks into this program.
    void makeTargetThenFocusOwn(const QString &title) {
        QTRY_VERIFY_WITH_TIMEOUT(windowTitled(title).has_value(), 60000);
        const RunningApplication window = *windowTitled(title);
        QTRY_VERIFY_WITH_TIMEOUT(send_->activate(window) && send_->isActive(window), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetWindow(), window.window, 10000);
        QTest::qWait(300);
        own_.activateWindow();
        QTRY_VERIFY_WITH_TIMEOUT(own_.isActiveWindow(), 10000);
        QTest::qWait(4 * TargetWindowTracker::periodMs);
        send_->clearReports();
    }

    void sendAndSettle(const QString &json, bool isEnter) { QVERIFY(send_->sendAndSettle(json, isEnter)); }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(dir_.isValid());
        LocalPath::initDirs();
        QVERIFY(!SendTesting::writePicture().isEmpty());
        send_ = std::make_unique<SendTesting>();
        own_.setWindowTitle(QStringLiteral("own window"));
        own_.resize(300, 60);
        own_.move(700, 600);
        own_.show();
        QVERIFY(QTest::qWaitForWindowExposed(&own_, 60000));
        send_->tracker().start();
    }

    // Chromium reads every paste twice, before and after the page's paste handler: every piece
    // arrives, in order, and one Enter sends them, whatever the handler takes.
    void chromiumChatPage_data() {
        QTest::addColumn<int>("handlerMs");
        QTest::newRow("no handler time") << 0;
        QTest::newRow("150 ms handler") << 150;
        QTest::newRow("500 ms handler") << 500;
    }

    void chromiumChatPage() {
        QFETCH(int, handlerMs);
        const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
        QVERIFY2(!chromium.isEmpty(), "chromium is missing: run scripts/setup");
        ChatPageServer chat;
        QVERIFY(chat.start());
        QTemporaryDir profile;
        // As root Chromium runs only without its sandbox.
        auto browser =
            start(chromium,
                  {QStringLiteral("--no-sandbox"), QStringLiteral("--user-data-dir=") + profile.path(),
                   QStringLiteral("--no-first-run"), QStringLiteral("--no-default-browser-check"),
                   QStringLiteral("--disable-gpu"), QStringLiteral("--password-store=basic"),
                   QStringLiteral("--window-size=800,500"), QStringLiteral("--app=") + chat.url(handlerMs)});
        QTRY_VERIFY_WITH_TIMEOUT(chat.ready(), 60000);
        makeTargetThenFocusOwn(QStringLiteral("Chat"));
        for (int round = 0; round < 2; ++round) {
            sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("before")),
                                              PhraseJson::picture(QStringLiteral("pic.png")),
                                              PhraseJson::text(QStringLiteral("after"))}),
                          true);
            QTRY_COMPARE_WITH_TIMEOUT(chat.sent().size(), round + 1, 10000);
            QCOMPARE(chat.sent()[round], QStringLiteral("before[img]after"));
            QVERIFY(send_->reports().isEmpty());
            makeTargetThenFocusOwn(QStringLiteral("Chat"));
        }
        QTest::qWait(500);
        QCOMPARE(chat.sent().size(), 2);
        SendTesting::stopProcess(*browser);
    }

    // GTK fetches the clipboard after it has taken the keys: the Enter still comes after the text.
    void gtkTextField() {
        const QString zenity = QStandardPaths::findExecutable(QStringLiteral("zenity"));
        QVERIFY2(!zenity.isEmpty(), "zenity is missing: run scripts/setup");
        auto entry = start(zenity, {QStringLiteral("--entry"), QStringLiteral("--title=Reply box"),
                                    QStringLiteral("--text=Reply")});
        makeTargetThenFocusOwn(QStringLiteral("Reply box"));
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("Hello from Quillora 123"))}),
                      true);
        // Enter activates the dialog, which prints the field's text and ends.
        QVERIFY(entry->waitForFinished(20000));
        QCOMPARE(entry->readAllStandardOutput(), QByteArray("Hello from Quillora 123\n"));
    }

    void mousepadEditor() {
        const QString mousepad = QStandardPaths::findExecutable(QStringLiteral("mousepad"));
        QVERIFY2(!mousepad.isEmpty(), "mousepad is missing: run scripts/setup");
        const QString doc = dir_.filePath(QStringLiteral("reply.txt"));
        QFile(doc).open(QIODevice::WriteOnly);
        auto editor = start(mousepad, {QStringLiteral("--disable-server"), doc});
        makeTargetThenFocusOwn(QStringLiteral("reply.txt"));
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("Hello from Quillora 123"))}),
                      true);
        QVERIFY(send_->reports().isEmpty());
        // Saved with the editor's own keys, read back from the file.
        QTest::qWait(300);
        pressWithControl(XK_s);
        QTRY_COMPARE_WITH_TIMEOUT(SendTesting::fileBytes(doc), QByteArray("Hello from Quillora 123\n"),
                                  10000);
        SendTesting::stopProcess(*editor);
    }

    // xterm pastes with Shift+Insert from PRIMARY; Ctrl+V would be a control character.
    void xtermTerminal() {
        const QString xterm = QStandardPaths::findExecutable(QStringLiteral("xterm"));
        QVERIFY2(!xterm.isEmpty(), "xterm is missing: run scripts/setup");
        const QString out = dir_.filePath(QStringLiteral("typed.txt"));
        auto terminal = start(xterm, {QStringLiteral("-title"), QStringLiteral("Terminal"),
                                      QStringLiteral("-e"), QStringLiteral("/bin/sh"), QStringLiteral("-c"),
                                      QStringLiteral("stty -echo; cat > '%1'").arg(out)});
        makeTargetThenFocusOwn(QStringLiteral("Terminal"));
        sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("echo hello")),
                                          PhraseJson::picture(QStringLiteral("pic.png")),
                                          PhraseJson::text(QStringLiteral(" there"))}),
                      true);
        QTRY_COMPARE_WITH_TIMEOUT(SendTesting::fileBytes(out), QByteArray("echo hello there\n"), 10000);
        QTRY_COMPARE(send_->reports(), QStringList{QString::fromUtf8("图片未发送：目标程序不接收图片")});
        SendTesting::stopProcess(*terminal);
    }
};

QUILLORA_X11_TEST_MAIN(SendProgramsTest)
#include "tst_send_programs.moc"
