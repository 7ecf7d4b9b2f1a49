// Sending into real programs under a private Xvfb with openbox while the keyboard layout changes
// under the running process: a layout without the paste keys where US has them, a layout
// without any Latin group, two groups with either active, the group switched between two sends.
#include "chatpageserver.h"
#include "phrasejson.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
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

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

// Locks the group, then names what the key of US "v" (evdev <AB04>) types in the group in force.
QString lockGroup(int group) {
    Display *display = XOpenDisplay(nullptr);
    XkbLockGroup(display, XkbUseCoreKbd, unsigned(group));
    XkbStateRec state{};
    XkbGetState(display, XkbUseCoreKbd, &state);
    const char *name = XKeysymToString(XkbKeycodeToKeysym(display, 55, state.group, 0));
    XCloseDisplay(display);
    return QString::fromLatin1(name ? name : "");
}

// The server's whole keymap as text.
QByteArray keymapText() {
    QProcess dump;
    dump.start(QStringLiteral("xkbcomp"),
               {QStringLiteral("-xkb"), QString::fromLocal8Bit(qgetenv("DISPLAY")), QStringLiteral("-")});
    dump.waitForFinished();
    return dump.readAllStandardOutput();
}

// The layout in force, as setxkbmap arguments.
QStringList layoutInForce() {
    QProcess query;
    query.start(QStringLiteral("setxkbmap"), {QStringLiteral("-query")});
    query.waitForFinished();
    QStringList args;
    for (const QString &line : QString::fromLatin1(query.readAllStandardOutput()).split(QLatin1Char('\n'))) {
        const QString value = line.section(QLatin1Char(':'), 1).trimmed();
        if (line.startsWith(QLatin1String("layout:")))
            args << QStringLiteral("-layout") << value;
        else if (line.startsWith(QLatin1String("variant:")))
            args << QStringLiteral("-variant") << value;
    }
    return args;
}

// The test's own keys, typed on US.
void typeOnUs(const QList<KeySym> &keys) {
    QProcess::execute(QStringLiteral("setxkbmap"), {QStringLiteral("us")});
    Display *display = XOpenDisplay(nullptr);
    for (KeySym key : keys) {
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, key), True, CurrentTime);
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, key), False, CurrentTime);
    }
    XSync(display, False);
    XCloseDisplay(display);
}

// The test's own Ctrl+key, typed on US until done() holds (a program may still be fetching what
// was pasted when the first one arrives); then the layout in force comes back.
void pressWithControlOnUs(KeySym key, const std::function<bool()> &done) {
    Display *display = XOpenDisplay(nullptr);
    XkbStateRec state{};
    XkbGetState(display, XkbUseCoreKbd, &state);
    XCloseDisplay(display);
    const QStringList before = layoutInForce();
    QProcess::execute(QStringLiteral("setxkbmap"), {QStringLiteral("us")});
    display = XOpenDisplay(nullptr);
    const KeyCode control = XKeysymToKeycode(display, XK_Control_L), code = XKeysymToKeycode(display, key);
    for (int tries = 0; tries < 10 && !done(); ++tries) {
        XTestFakeKeyEvent(display, control, True, CurrentTime);
        XTestFakeKeyEvent(display, code, True, CurrentTime);
        XTestFakeKeyEvent(display, code, False, CurrentTime);
        XTestFakeKeyEvent(display, control, False, CurrentTime);
        XSync(display, False);
        [[maybe_unused]] const bool finished = QTest::qWaitFor(done, 2000);
    }
    QProcess::execute(QStringLiteral("setxkbmap"), before);
    XkbLockGroup(display, XkbUseCoreKbd, state.group);
    XCloseDisplay(display);
}

} // namespace

class SendLayoutsTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir dir_;
    QWidget own_;
    std::unique_ptr<SendTesting> send_;
    std::unique_ptr<QProcess> editor_, terminal_, browser_, ibus_, ibusEditor_;
    QByteArray editorText_, terminalText_, browserText_, ibusText_;
    QTemporaryDir profile_;
    ChatPageServer chat_;

    std::unique_ptr<QProcess>
    start(const QString &name, const QStringList &args,
          const QProcessEnvironment &env = QProcessEnvironment::systemEnvironment()) {
        const QString program = QStandardPaths::findExecutable(name);
        if (program.isEmpty())
            return nullptr;
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(env);
        process->start(program, args);
        return process;
    }

    // The editor of the file it returns, started once.
    QString startEditor() {
        const QString doc = dir_.filePath(QStringLiteral("replies.txt"));
        if (!editor_ && QFile(doc).open(QIODevice::WriteOnly))
            editor_ = start(QStringLiteral("mousepad"), {QStringLiteral("--disable-server"), doc});
        return doc;
    }

    // A window whose title holds the text (editors add a mark or the program's name).
    std::optional<RunningApplication> windowTitled(const QString &title) const {
        for (const RunningApplication &app : send_->applications())
            if (app.title.contains(title))
                return app;
        return std::nullopt;
    }

    // The test's own keys go to the window.
    void focusWindow(const QString &title) {
        QTRY_VERIFY_WITH_TIMEOUT(windowTitled(title).has_value(), 60000);
        const RunningApplication window = *windowTitled(title);
        QTRY_VERIFY_WITH_TIMEOUT(send_->activate(window) && send_->isActive(window), 20000);
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

    // The layout set while the programs run, and the phrase sent with it.
    void switchLayoutThenSend(const QString &title, QByteArray &landed) {
        QFETCH(QStringList, setxkbmap);
        QFETCH(int, group);
        QFETCH(QString, symbolOnV);
        if (!setxkbmap.isEmpty())
            QCOMPARE(QProcess::execute(QStringLiteral("setxkbmap"), setxkbmap), 0);
        QCOMPARE(lockGroup(group), symbolOnV);
        const QByteArray keymap = keymapText();
        QVERIFY(keymap.contains("xkb_symbols"));
        makeTargetThenFocusOwn(title);
        const QString line = QStringLiteral("Reply on ") + QString::fromLatin1(QTest::currentDataTag());
        QVERIFY(send_->sendAndSettle(PhraseJson::phrase({PhraseJson::text(line)}), true));
        QCOMPARE(send_->reports(), QStringList());
        // A key lent a symbol for the stroke has it no longer.
        QCOMPARE(keymapText(), keymap);
        landed += line.toUtf8() + '\n';
    }

    static void stop(std::unique_ptr<QProcess> &process) {
        if (!process)
            return;
        process->terminate();
        if (!process->waitForFinished(5000))
            process->kill();
        process->waitForFinished(2000);
        process.reset();
    }

    // Where the Latin group is not US, a key gives its Latin symbol by the group in GTK and Qt, by
    // its US place in Chromium; the group's way is taken.
    static void layoutRows(bool latinGroupNotUs = true) {
        QTest::addColumn<QStringList>("setxkbmap");
        QTest::addColumn<int>("group");
        QTest::addColumn<QString>("symbolOnV");
        const auto layout = [](const char *name) { return QStringList{QStringLiteral("-layout"), name}; };
        QTest::newRow("us") << layout("us") << 0 << QStringLiteral("v");
        QTest::newRow("us dvorak") << (layout("us") << QStringLiteral("-variant") << QStringLiteral("dvorak"))
                                   << 0 << QStringLiteral("k");
        QTest::newRow("us after dvorak") << layout("us") << 0 << QStringLiteral("v");
        QTest::newRow("ru alone") << layout("ru") << 0 << QStringLiteral("Cyrillic_em");
        QTest::newRow("us after ru") << layout("us") << 0 << QStringLiteral("v");
        QTest::newRow("ru,us with ru active") << layout("ru,us") << 0 << QStringLiteral("Cyrillic_em");
        QTest::newRow("us,ru with us active") << layout("us,ru") << 0 << QStringLiteral("v");
        QTest::newRow("us,ru switched to ru") << QStringList() << 1 << QStringLiteral("Cyrillic_em");
        QTest::newRow("us,ru switched back") << QStringList() << 0 << QStringLiteral("v");
        QTest::newRow("de") << layout("de") << 0 << QStringLiteral("v");
        QTest::newRow("fr") << layout("fr") << 0 << QStringLiteral("v");
        if (latinGroupNotUs)
            QTest::newRow("dvorak,ru with ru active")
                << (layout("us,ru") << QStringLiteral("-variant") << QStringLiteral("dvorak,")) << 1
                << QStringLiteral("Cyrillic_em");
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(dir_.isValid());
        LocalPath::initDirs();
        send_ = std::make_unique<SendTesting>();
        own_.setWindowTitle(QStringLiteral("own window"));
        own_.resize(300, 60);
        own_.move(700, 600);
        own_.show();
        QVERIFY(QTest::qWaitForWindowExposed(&own_, 60000));
        send_->tracker().start();
    }

    void cleanupTestCase() {
        stop(editor_);
        stop(terminal_);
        stop(browser_);
        stop(ibusEditor_);
        stop(ibus_);
    }

    // GTK takes Ctrl+V by the symbol of the active group, the Latin group's key in a non-Latin one.
    void mousepadEditor_data() { layoutRows(); }

    void mousepadEditor() {
        const QString doc = startEditor();
        QVERIFY2(editor_, "mousepad is missing: run scripts/setup");
        switchLayoutThenSend(QStringLiteral("replies.txt"), editorText_);
        if (QTest::currentTestFailed())
            return;
        // Saved with the editor's own keys, read back from the file.
        focusWindow(QStringLiteral("replies.txt"));
        pressWithControlOnUs(XK_s, [&] { return SendTesting::fileBytes(doc) == editorText_; });
        QCOMPARE(SendTesting::fileBytes(doc), editorText_);
    }

    // A send that ends with a paste on a lent key: nothing comes after to take it back.
    void lentKeyAfterTheLastPaste() {
        const QString doc = startEditor();
        QVERIFY2(editor_, "mousepad is missing: run scripts/setup");
        QCOMPARE(QProcess::execute(QStringLiteral("setxkbmap"), {QStringLiteral("ru")}), 0);
        QCOMPARE(lockGroup(0), QStringLiteral("Cyrillic_em"));
        const QByteArray keymap = keymapText();
        makeTargetThenFocusOwn(QStringLiteral("replies.txt"));
        QVERIFY(send_->sendAndSettle(PhraseJson::phrase({PhraseJson::text(QStringLiteral("last"))}), false));
        QCOMPARE(send_->reports(), QStringList());
        QTRY_COMPARE_WITH_TIMEOUT(keymapText(), keymap, 20000);
        editorText_ += "last";
        focusWindow(QStringLiteral("replies.txt"));
        pressWithControlOnUs(XK_s, [&] { return SendTesting::fileBytes(doc) == editorText_; });
        QCOMPARE(SendTesting::fileBytes(doc), editorText_);
    }

    // Chromium takes the key of a non-Latin symbol by where it lies on a US keyboard.
    void chromiumChatPage_data() { layoutRows(false); }

    void chromiumChatPage() {
        if (!browser_) {
            QVERIFY(chat_.start());
            // As root Chromium runs only without its sandbox.
            browser_ =
                start(QStringLiteral("chromium"),
                      {QStringLiteral("--no-sandbox"), QStringLiteral("--user-data-dir=") + profile_.path(),
                       QStringLiteral("--no-first-run"), QStringLiteral("--no-default-browser-check"),
                       QStringLiteral("--disable-gpu"), QStringLiteral("--password-store=basic"),
                       QStringLiteral("--window-size=800,500"), QStringLiteral("--app=") + chat_.url(0)});
            QVERIFY2(browser_, "chromium is missing: run scripts/setup");
            QTRY_VERIFY_WITH_TIMEOUT(chat_.ready(), 60000);
        }
        switchLayoutThenSend(QStringLiteral("Chat"), browserText_);
        if (QTest::currentTestFailed())
            return;
        QTRY_COMPARE_WITH_TIMEOUT(chat_.sent().join(QLatin1Char('\n')) + QLatin1Char('\n'),
                                  QString::fromUtf8(browserText_), 10000);
    }

    // IBus with a Chinese engine between the keys and a GTK program: it sees every key first, on its
    // own bus, and hands back those it does not take.
    void mousepadWithIbus_data() { layoutRows(); }

    void mousepadWithIbus() {
        const QString doc = dir_.filePath(QStringLiteral("ibus.txt"));
        if (!ibus_) {
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
            env.insert(QStringLiteral("IBUS_ADDRESS"),
                       QStringLiteral("unix:path=") + dir_.filePath(QStringLiteral("ibus")));
            // The engine reads its settings through a config component.
            ibus_ = start(QStringLiteral("ibus-daemon"),
                          {QStringLiteral("--panel=disable"), QStringLiteral("--emoji-extension=disable"),
                           QStringLiteral("--config=/usr/libexec/ibus-memconf"),
                           QStringLiteral("--address=") + env.value(QStringLiteral("IBUS_ADDRESS"))},
                          env);
            QVERIFY2(ibus_, "ibus-daemon is missing: run scripts/setup");
            const auto ibus = [&env](const QStringList &args) {
                QProcess cli;
                cli.setProcessEnvironment(env);
                cli.start(QStringLiteral("ibus"), args);
                cli.waitForFinished(20000);
                return cli.readAllStandardOutput().trimmed();
            };
            QTRY_VERIFY_WITH_TIMEOUT((ibus({QStringLiteral("engine"), QStringLiteral("libpinyin")}),
                                      ibus({QStringLiteral("engine")}) == "libpinyin"),
                                     60000);
            QFile(doc).open(QIODevice::WriteOnly);
            env.insert(QStringLiteral("GTK_IM_MODULE"), QStringLiteral("ibus"));
            ibusEditor_ = start(QStringLiteral("mousepad"), {QStringLiteral("--disable-server"), doc}, env);
            QVERIFY2(ibusEditor_, "mousepad is missing: run scripts/setup");
            // The engine is in the way: "ni" and space type the Chinese for it.
            focusWindow(QStringLiteral("ibus.txt"));
            ibusText_ = QString::fromUtf8("你").toUtf8();
            typeOnUs({XK_n, XK_i, XK_space});
            pressWithControlOnUs(XK_s, [&] { return SendTesting::fileBytes(doc) == ibusText_; });
            QCOMPARE(SendTesting::fileBytes(doc), ibusText_);
        }
        switchLayoutThenSend(QStringLiteral("ibus.txt"), ibusText_);
        if (QTest::currentTestFailed())
            return;
        focusWindow(QStringLiteral("ibus.txt"));
        pressWithControlOnUs(XK_s, [&] { return SendTesting::fileBytes(doc) == ibusText_; });
        QCOMPARE(SendTesting::fileBytes(doc), ibusText_);
    }

    // xterm pastes with Shift+Insert, which every layout keeps in place.
    void xtermTerminal_data() { layoutRows(); }

    void xtermTerminal() {
        const QString out = dir_.filePath(QStringLiteral("typed.txt"));
        if (!terminal_) {
            terminal_ = start(QStringLiteral("xterm"),
                              {QStringLiteral("-title"), QStringLiteral("Terminal"), QStringLiteral("-e"),
                               QStringLiteral("/bin/sh"), QStringLiteral("-c"),
                               QStringLiteral("stty -echo; cat > '%1'").arg(out)});
            QVERIFY2(terminal_, "xterm is missing: run scripts/setup");
        }
        switchLayoutThenSend(QStringLiteral("Terminal"), terminalText_);
        if (QTest::currentTestFailed())
            return;
        QTRY_COMPARE_WITH_TIMEOUT(SendTesting::fileBytes(out), terminalText_, 10000);
    }
};

QUILLORA_X11_TEST_MAIN(SendLayoutsTest)
#include "tst_send_layouts.moc"
