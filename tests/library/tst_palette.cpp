// The keyboard palette sending into real programs: Chromium with the chat page and mousepad, on X11
// (Xvfb with openbox) or, with QUILLORA_TEST_DESKTOP=sway, under a headless sway.
#include "library/phraselistview.h"
#include "library/phrasepalette.h"
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"

#include "chatpageserver.h"
#include "phrasejson.h"
#include "sendtesting.h"
#include "waylandsession.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

const QString agent = QStringLiteral("agent");

Phrase phrase(const QString &sign, const QString &label, const QString &text, int position) {
    Phrase p;
    p.sign = sign;
    p.parentSign = QStringLiteral("class-%1").arg(position % 3);
    p.label = label;
    p.setJsonValue(PhraseJson::phrase({PhraseJson::text(text)}));
    p.position = position;
    return p;
}

// Real key presses on the X display: the modifiers held, the key pressed and released.
void press(const QList<KeySym> &modifiers, KeySym key) {
    Display *display = XOpenDisplay(nullptr);
    for (KeySym m : modifiers)
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, m), True, CurrentTime);
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, key), True, CurrentTime);
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, key), False, CurrentTime);
    for (KeySym m : modifiers)
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, m), False, CurrentTime);
    XSync(display, False);
    XCloseDisplay(display);
}

} // namespace

// A step of a test that ends the test when it failed.
#define STEP(call)                                                                                           \
    do {                                                                                                     \
        call;                                                                                                \
        if (QTest::currentTestFailed())                                                                      \
            return;                                                                                          \
    } while (false)

class TestPalette : public QObject {
    Q_OBJECT

    QTemporaryDir dir_;
    std::unique_ptr<LocalStore> db_;
    std::unique_ptr<PhraseStore> store_;
    std::unique_ptr<SendTesting> send_;
    std::unique_ptr<PhrasePalette> palette_;

    std::optional<RunningApplication> windowTitled(const QString &part) const {
        for (const RunningApplication &app : send_->applications())
            if (app.title.contains(part))
                return app;
        return std::nullopt;
    }

    // The program's window (its title holds `title`) comes to the front, as the agent working in it.
    void bringForward(const QString &title) {
        QTRY_VERIFY_WITH_TIMEOUT(windowTitled(title).has_value(), 60000);
        const RunningApplication window = *windowTitled(title);
        QTRY_VERIFY_WITH_TIMEOUT(send_->activate(window) && send_->isActive(window), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetWindow(), window.window, 10000);
    }

    // Opens the palette, which takes the keyboard, and types a search.
    void openAndType(const QString &search) {
        palette_->present();
        QTRY_VERIFY_WITH_TIMEOUT(palette_->isActiveWindow(), 10000);
        QCOMPARE(QApplication::focusWidget(), palette_->field());
        QTest::keyClicks(palette_->field(), search);
    }

    // Types a search, moves down `down` rows and sends; waits until the send is over.
    void sendFromPalette(const QString &search, int down, bool withEnter) {
        STEP(openAndType(search));
        for (int i = 0; i < down; ++i)
            QTest::keyClick(palette_->field(), Qt::Key_Down);
        QTest::keyClick(palette_->field(), Qt::Key_Return, withEnter ? Qt::ShiftModifier : Qt::NoModifier);
        QVERIFY(!palette_->isVisible());
        QTest::qWait(100);
        QVERIFY(send_->settle());
        QVERIFY2(send_->reports().isEmpty(), qPrintable(send_->reports().join(QLatin1Char('\n'))));
    }

    // Escape closes the palette and sends nothing.
    void escapeSendsNothing() {
        STEP(openAndType(QStringLiteral("order")));
        QVERIFY(palette_->list()->model()->rowCount() > 0);
        QTest::keyClick(palette_->field(), Qt::Key_Escape);
        QVERIFY(!palette_->isVisible());
        QTest::qWait(500);
        QVERIFY(!send_->sender().isRunning());
        // The keyboard is back in the chat program.
        QTRY_VERIFY_WITH_TIMEOUT(send_->frontPid() != qint32(QCoreApplication::applicationPid()), 10000);
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(dir_.isValid());
        LocalPath::initDirs();
        db_ = std::make_unique<LocalStore>();
        QVERIFY(db_->open());
        store_ = std::make_unique<PhraseStore>(*db_);
        QVERIFY(store_->replaceAll(agent, {phrase("p1", "greeting", "Hello from the palette", 1),
                                           phrase("p2", "order one", "Your order has shipped", 2),
                                           phrase("p3", "order two", "Your order arrives today", 3)}));
        send_ = std::make_unique<SendTesting>();
        send_->tracker().start();
        palette_ = std::make_unique<PhrasePalette>(*store_, agent);
        palette_->sendThrough(send_->sender(), send_->tracker(), send_->desktop());
    }

    void chromiumChatPage() {
        const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
        QVERIFY2(!chromium.isEmpty(), "chromium is missing: run scripts/setup");
        ChatPageServer chat;
        QVERIFY(chat.start());
        QTemporaryDir profile;
        QProcess browser;
        browser.start(chromium,
                      {QStringLiteral("--no-sandbox"), QStringLiteral("--user-data-dir=") + profile.path(),
                       QStringLiteral("--no-first-run"), QStringLiteral("--no-default-browser-check"),
                       QStringLiteral("--disable-gpu"), QStringLiteral("--password-store=basic"),
                       QStringLiteral("--window-size=800,500"), QStringLiteral("--app=") + chat.url(0)});
        QTRY_VERIFY_WITH_TIMEOUT(chat.ready(), 60000);
        STEP(bringForward(QStringLiteral("Chat")));
        // Without Enter the text waits in the box; the next, with Enter, goes out after it.
        STEP(sendFromPalette(QStringLiteral("greet"), 0, false));
        QTest::qWait(500);
        QCOMPARE(chat.sent().size(), 0);
        STEP(escapeSendsNothing());
        STEP(sendFromPalette(QStringLiteral("order"), 1, true));
        QTRY_COMPARE_WITH_TIMEOUT(chat.sent().size(), 1, 10000);
        QCOMPARE(chat.sent().first(), QStringLiteral("Hello from the paletteYour order arrives today"));
        SendTesting::stopProcess(browser);
    }

    // The optional global key of the settings opens it from any program.
    void globalShortcutOpensIt() {
        if (qgetenv("QUILLORA_TEST_DESKTOP") == "sway")
            QSKIP("a key grab of the X display: for X11 desktops");
        QVERIFY(!palette_->setShortcut(QStringLiteral("Ctrl+Shift+NoSuchKey")));
        QVERIFY(palette_->setShortcut(QStringLiteral("Ctrl+Shift+space")));
        press({XK_Control_L, XK_Shift_L}, XK_space);
        QTRY_VERIFY_WITH_TIMEOUT(palette_->isActiveWindow(), 10000);
        QTest::keyClick(palette_->field(), Qt::Key_Escape);
        QVERIFY(!palette_->isVisible());
        QVERIFY(palette_->setShortcut(QString()));
        press({XK_Control_L, XK_Shift_L}, XK_space);
        QTest::qWait(500);
        QVERIFY(!palette_->isVisible());
    }

    void mousepadEditor() {
        const QString mousepad = QStandardPaths::findExecutable(QStringLiteral("mousepad"));
        QVERIFY2(!mousepad.isEmpty(), "mousepad is missing: run scripts/setup");
        const QString doc = dir_.filePath(QStringLiteral("reply.txt"));
        QFile(doc).open(QIODevice::WriteOnly);
        QProcess editor;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        // Under sway too it runs through XWayland, where the test's save key reaches it.
        environment.insert(QStringLiteral("GDK_BACKEND"), QStringLiteral("x11"));
        editor.setProcessEnvironment(environment);
        editor.start(mousepad, {QStringLiteral("--disable-server"), doc});
        STEP(bringForward(QStringLiteral("reply.txt")));
        STEP(sendFromPalette(QStringLiteral("order"), 0, true));
        STEP(escapeSendsNothing());
        STEP(sendFromPalette(QStringLiteral("greeting"), 0, false));
        QTest::qWait(300);
        // The editor's own save key.
        press({XK_Control_L}, XK_s);
        QTRY_COMPARE_WITH_TIMEOUT(SendTesting::fileBytes(doc),
                                  QByteArray("Your order has shipped\nHello from the palette"), 10000);
        SendTesting::stopProcess(editor);
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    std::unique_ptr<XvfbSession> x11;
    std::unique_ptr<WaylandSession> sway;
    if (qgetenv("QUILLORA_TEST_DESKTOP") == "sway") {
        sway = std::make_unique<WaylandSession>();
        if (!sway->start())
            qFatal("could not start sway");
    } else {
        x11 = std::make_unique<XvfbSession>();
        if (!x11->start())
            qFatal("could not start Xvfb");
    }
    QApplication app(argc, argv);
    TestPalette tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_palette.moc"
