#include "desktop/desktopbackend.h"
#include "desktop/gnome/gnomebackend.h"
#include "gnomeshellsession.h"
#include "model/settings.h"
#include "mutterkeyboard.h"
#include "phrasejson.h"
#include "quickbar/quickbar.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "sendtesting.h"
#include "store/localpath.h"
#include "testenv.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <X11/Xlib.h>

namespace {

// Set by main() before the application object exists.
GnomeShellSession *shell = nullptr;
QString shellError;

bool extensionAnswers() {
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(
            QStringLiteral("org.gnome.Shell"), QStringLiteral("/org/quillora/Quillora/Windows"),
            QStringLiteral("org.quillora.Quillora.Windows"), QStringLiteral("ListWindows")),
        QDBus::Block, 5000);
    return reply.type() == QDBusMessage::ReplyMessage;
}

} // namespace

// The GNOME back-end in a real headless GNOME Shell with Quillora's extension and the real desktop
// portal, where they are installed (CI does not install them: they bring a whole desktop along):
// pieces go on the X11 clipboard through XWayland and into a native GTK window on Wayland.
class SendGnomeShellTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir_;
    QList<QProcess *> readers_;
    MutterKeyboard keyboard_;
    std::unique_ptr<SendTesting> send_;

    QStringList lines(const QString &log) const { return SendTesting::logLines(log); }

    QString startReader(const QString &appId, const QString &title) {
        const QString log = dir_.filePath(appId + QStringLiteral(".log"));
        auto *reader = new QProcess(this);
        reader->setProcessEnvironment(shell->waylandEnvironment());
        reader->setProcessChannelMode(QProcess::ForwardedChannels);
        reader->start(QStringLiteral("gjs"), {QStringLiteral(GTKREADER_SCRIPT), log, appId, title});
        readers_.append(reader);
        return log;
    }

    // The app id of the window the shell gives the keyboard to, asked of the extension.
    static QString frontAppId() {
        const QDBusMessage reply = QDBusConnection::sessionBus().call(
            QDBusMessage::createMethodCall(
                QStringLiteral("org.gnome.Shell"), QStringLiteral("/org/quillora/Quillora/Windows"),
                QStringLiteral("org.quillora.Quillora.Windows"), QStringLiteral("FocusedWindow")),
            QDBus::Block, 5000);
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
            return {};
        const QDBusArgument window = reply.arguments().at(0).value<QDBusArgument>();
        quint64 id = 0;
        QString appId;
        window.beginStructure();
        window >> id >> appId;
        return appId;
    }

    std::optional<RunningApplication> listed(const QString &appId) const {
        return send_->applicationWithId(appId);
    }

    // The window comes forward through the extension and "发送到" follows it.
    void bringForward(const QString &appId) {
        QTRY_VERIFY_WITH_TIMEOUT(listed(appId), 30000);
        const RunningApplication app = *listed(appId);
        QVERIFY(send_->activate(app));
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetWindow(), app.window, 10000);
    }

    QString chat_, other_;

    // Where the X server has the window's client area, as the window manager left it.
    static QRect placed(const QWidget &window) {
        Display *display = XOpenDisplay(nullptr);
        if (!display)
            return {};
        int x = 0, y = 0;
        Window child = 0;
        XWindowAttributes attributes{};
        const bool known =
            XGetWindowAttributes(display, window.winId(), &attributes) &&
            XTranslateCoordinates(display, window.winId(), DefaultRootWindow(display), 0, 0, &x, &y, &child);
        XCloseDisplay(display);
        return known ? QRect(x, y, attributes.width, attributes.height) : QRect();
    }

private Q_SLOTS:
    void initTestCase() {
        if (!GnomeShellSession::installed())
            QSKIP("GNOME Shell is not installed");
        if (QStandardPaths::findExecutable(QStringLiteral("gjs")).isEmpty())
            QSKIP("gjs is not installed");
        QVERIFY2(shellError.isEmpty(), qPrintable(shellError));
        const QStringList activatable =
            QDBusConnection::sessionBus().interface()->activatableServiceNames().value();
        if (!activatable.contains(QStringLiteral("org.freedesktop.portal.Desktop")) ||
            !activatable.contains(QStringLiteral("org.freedesktop.impl.portal.desktop.gnome")))
            QSKIP("the desktop portal or its GNOME back-end is not installed");
        QVERIFY(dir_.isValid());
        LocalPath::initDirs();
        QImage picture(9, 6, QImage::Format_RGB32);
        picture.fill(Qt::darkMagenta);
        QVERIFY(picture.save(LocalPath::imageDir() + QStringLiteral("/pic.png")));

        QTRY_VERIFY_WITH_TIMEOUT(extensionAnswers(), 60000);
        const QString opened = keyboard_.open();
        QVERIFY2(opened.isEmpty(), qPrintable(opened));
        other_ = startReader(QStringLiteral("chat.other"), QStringLiteral("Chat other"));
        chat_ = startReader(QStringLiteral("chat.gnome"), QStringLiteral("Chat GNOME"));
        QTRY_VERIFY_WITH_TIMEOUT(lines(chat_).contains(QStringLiteral("ready")), 30000);
        QTRY_VERIFY_WITH_TIMEOUT(lines(other_).contains(QStringLiteral("ready")), 30000);

        // The back-end asks the portal for keys; the portal's dialog is answered from the keyboard:
        // Enter turns on "allow remote interaction", Alt+S is its Share button.
        Settings().setRestoreToken(QString());
        send_ = std::make_unique<SendTesting>();
        auto *backend = dynamic_cast<GnomeBackend *>(&send_->desktop());
        QVERIFY2(backend && backend->available(),
                 "the GNOME back-end was not chosen or the extension is off");
        // A new window does not always get the focus from the shell (it guards against windows
        // taking it): the user clicks into the dialog first.
        QTRY_VERIFY_WITH_TIMEOUT(listed(QStringLiteral("xdg-desktop-portal-gnome")), 30000);
        QVERIFY(send_->activate(*listed(QStringLiteral("xdg-desktop-portal-gnome"))));
        QTRY_COMPARE_WITH_TIMEOUT(frontAppId(), QStringLiteral("xdg-desktop-portal-gnome"), 10000);
        // Enter toggles the switch when the dialog has given it the focus, and the switch turns
        // on at the end of its animation: Share is pressed again and again for a while, and when
        // it never comes through, the switch is toggled once more.
        for (int round = 0; round < 6 && !backend->canType(); ++round) {
            QVERIFY(keyboard_.press({MutterKeyboard::returnKey}));
            QDeadlineTimer deadline(3000);
            while (!backend->canType() && !deadline.hasExpired()) {
                QVERIFY(keyboard_.press({MutterKeyboard::altKey, 's'}));
                QTest::qWait(300);
            }
        }
        QVERIFY2(backend->canType(), "the portal's dialog did not give the keys");
        send_->tracker().start();
    }

    void cleanupTestCase() {
        send_.reset();
        keyboard_.close();
        for (QProcess *reader : readers_) {
            reader->terminate();
            if (!reader->waitForFinished(5000))
                reader->kill();
        }
    }

    // The extension lists the native window with its process; a phrase with Enter lands through
    // the portal's keys and the shell's bridge from the X11 clipboard.
    void textThenEnter() {
        bringForward(QStringLiteral("chat.gnome"));
        QCOMPARE(listed(QStringLiteral("chat.gnome"))->pid, qint32(readers_.at(1)->processId()));
        QCOMPARE(listed(QStringLiteral("chat.gnome"))->title, QStringLiteral("Chat GNOME"));
        const qsizetype before = lines(chat_).filter(QStringLiteral("paste")).size();
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("你好 GNOME"))})),
            true);
        QVERIFY(send_->settle());
        const QStringList expected{QStringLiteral("paste text=你好 GNOME"), QStringLiteral("enter keypad")};
        QTRY_COMPARE_WITH_TIMEOUT(
            lines(chat_).filter(QRegularExpression(QStringLiteral("^(paste|enter)"))).mid(before), expected,
            10000);
    }

    // From another window: the target comes forward, the pieces land in order, the picture as PNG.
    void textPictureTextFromAnotherWindow() {
        bringForward(QStringLiteral("chat.other"));
        bringForward(QStringLiteral("chat.gnome"));
        const qsizetype before = lines(chat_).size();
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("before")),
                                                        PhraseJson::picture(QStringLiteral("pic.png")),
                                                        PhraseJson::text(QStringLiteral("after"))})),
            true);
        QVERIFY(send_->settle());
        const QStringList expected{QStringLiteral("paste text=before"), QStringLiteral("paste image=9x6"),
                                   QStringLiteral("paste text=after"), QStringLiteral("enter keypad")};
        QTRY_COMPARE_WITH_TIMEOUT(
            lines(chat_).mid(before).filter(QRegularExpression(QStringLiteral("^(paste|enter)"))), expected,
            10000);
        QVERIFY(lines(other_).filter(QRegularExpression(QStringLiteral("^(paste|enter)"))).isEmpty());
    }

    // Our windows through XWayland: the quick bar shows without taking the chat window's focus,
    // and a window placed at the right edge, as the home window docks, gets the strip it asked for.
    void ownWindowsKeepTheirPlaceAndLeaveTheFocus() {
        bringForward(QStringLiteral("chat.gnome"));
        Settings settings;
        QuickBar bar(settings, send_->sender());
        bar.present();
        QVERIFY(QTest::qWaitForWindowExposed(&bar, 20000));
        QTest::qWait(500);
        QCOMPARE(frontAppId(), QStringLiteral("chat.gnome"));
        QVERIFY(bar.isVisible());

        QWidget dock;
        dock.setWindowTitle(QStringLiteral("docked"));
        dock.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dock, 20000));
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        const QRect edge(screen.width() - 300 - 5, 0, 300, screen.height());
        dock.setGeometry(edge);
        // The shell keeps its top bar and the title bar above the window; the rest is the strip.
        QTRY_COMPARE_WITH_TIMEOUT(placed(dock).bottomRight(), edge.bottomRight(), 10000);
        QCOMPARE(placed(dock).left(), edge.left());
        QVERIFY2(placed(dock).top() < screen.height() / 10, qPrintable(QString::number(placed(dock).top())));
    }

    // A program nobody here wrote: zenity's entry takes the text and closes on Enter, printing it.
    void textAndEnterIntoZenity() {
        if (QStandardPaths::findExecutable(QStringLiteral("zenity")).isEmpty())
            QSKIP("zenity is not installed");
        QProcess zenity;
        zenity.setProcessEnvironment(shell->waylandEnvironment());
        zenity.start(QStringLiteral("zenity"),
                     {QStringLiteral("--entry"), QStringLiteral("--title"), QStringLiteral("Zenity reply"),
                      QStringLiteral("--text"), QStringLiteral("reply")});
        bringForward(QStringLiteral("zenity"));
        send_->sender().send(
            PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text(QStringLiteral("回复 zenity"))})),
            true);
        QVERIFY(send_->settle());
        const bool finished = zenity.waitForFinished(20000);
        if (!finished)
            zenity.kill();
        QVERIFY(finished);
        QCOMPARE(zenity.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(zenity.readAllStandardOutput()).trimmed(), QStringLiteral("回复 zenity"));
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    GnomeShellSession session;
    if (GnomeShellSession::installed()) {
        shellError = session.start(QStringLiteral(EXTENSION_DIR));
        shell = &session;
    } else {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    SendGnomeShellTest tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_send_gnomeshell.moc"
