#include "desktop/x11/x11backend.h"
#include "model/phrasecontent.h"
#include "model/settings.h"
#include "recordingbackend.h"
#include "send/clipboardutil.h"
#include "send/pastekeys.h"
#include "send/pastelanding.h"
#include "send/phrasesender.h"
#include "send/sendplan.h"
#include "send/targetwindowtracker.h"
#include "sendtesting.h"
#include "standardoutput.h"
#include "store/localpath.h"
#include "testenv.h"

#include <QBuffer>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QSemaphore>
#include <QThreadPool>
#include <QtTest>
#include <thread>

namespace {

constexpr qint32 chatPid = 4242;
constexpr qint32 otherPid = 4343;

QString phrase(const QList<QPair<int, QString>> &pieces) {
    QStringList items;
    for (const auto &[type, value] : pieces)
        items << QStringLiteral("{\"type\":%1,\"value\":\"%2\"}").arg(type).arg(value);
    return QLatin1Char('[') + items.join(QLatin1Char(',')) + QLatin1Char(']');
}

qint32 ownPid() {
    return qint32(QCoreApplication::applicationPid());
}

using Verdict = PasteLanding::Verdict;
using Request = PasteLanding::Request;

} // namespace

class SendLogicTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<SendTesting> send_;
    RecordingBackend *desk_ = nullptr;
    QByteArray png_;

    // The tracker sees pid in front, then the user clicks back into this program.
    void target(qint32 pid) {
        desk_->activePid = pid;
        QTRY_VERIFY_WITH_TIMEOUT(send_->tracker().lastTarget() && send_->tracker().lastTarget()->pid == pid,
                                 5000);
        desk_->activePid = ownPid();
        QTest::qWait(3 * TargetWindowTracker::periodMs);
        desk_->clearJournal();
        send_->clearReports();
    }

    void waitUntilSent() { QVERIFY(send_->settle()); }

    QStringList send(const QString &json, bool isEnter) {
        send_->sender().send(PhraseContent::fromJson(json), isEnter);
        waitUntilSent();
        return desk_->journal();
    }

    QStringList textPictureText(bool isEnter) {
        return send(phrase({{1, QStringLiteral("before")},
                            {2, QStringLiteral("pic.png")},
                            {1, QStringLiteral("after")}}),
                    isEnter);
    }

    QString pngLine(qint32 pid) const {
        return QStringLiteral("paste png %1 bytes -> %2").arg(png_.size()).arg(pid);
    }

private Q_SLOTS:
    void initTestCase() {
        auto backend = std::make_unique<RecordingBackend>();
        desk_ = backend.get();
        desk_->applications = {RecordingBackend::app(ownPid(), QStringLiteral("quillora")),
                               RecordingBackend::app(chatPid, QStringLiteral("Chat")),
                               RecordingBackend::app(otherPid, QStringLiteral("Other"))};
        desk_->activePid = ownPid();
        send_ = std::make_unique<SendTesting>(std::move(backend));

        LocalPath::initDirs();
        QImage image(3, 2, QImage::Format_RGB32);
        image.fill(Qt::red);
        QBuffer buffer(&png_);
        QVERIFY(image.save(&buffer, "PNG"));
        QFile file(LocalPath::imageDir() + QStringLiteral("/pic.png"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(png_);
    }

    // Front applications other than this program become the target; this program never does,
    // nor does the moment between two focus changes when no window is active.
    void trackerFollowsOtherPrograms() {
        send_->tracker().start();
        QVERIFY(send_->tracker().isStarted());
        QTest::qWait(3 * TargetWindowTracker::periodMs);
        QVERIFY(!send_->tracker().lastTarget());
        QVERIFY(send(phrase({{1, QStringLiteral("nobody")}}), true).isEmpty());
        QCOMPARE(send_->reports(), QStringList{QString::fromUtf8("未发送：没有目标窗口")});

        target(chatPid);
        QCOMPARE(send_->tracker().lastTarget()->appId, std::optional<QString>(QStringLiteral("Chat")));
        desk_->activePid = -1;
        QTest::qWait(3 * TargetWindowTracker::periodMs);
        QCOMPARE(send_->tracker().lastTarget()->pid, chatPid);
    }

    void piecesInOrderThenEnter() {
        target(chatPid);
        const QStringList got = send(phrase({{1, QStringLiteral("before")},
                                             {2, QStringLiteral("pic.png")},
                                             {2, QStringLiteral("missing.png")},
                                             {1, QStringLiteral("after")}}),
                                     true);
        QCOMPARE(got, (QStringList{QStringLiteral("activate 4242"), QStringLiteral("paste before -> 4242"),
                                   pngLine(chatPid), QStringLiteral("paste after -> 4242"),
                                   QStringLiteral("enter -> 4242")}));
        QVERIFY(send_->reports().isEmpty());
    }

    void textOnlyAndEmptyPhrases() {
        target(chatPid);
        QCOMPARE(send(phrase({{1, QStringLiteral("hello")}, {1, QStringLiteral(" there")}}), false),
                 (QStringList{QStringLiteral("activate 4242"), QStringLiteral("paste hello there -> 4242")}));
        // Nothing to send: not even the target is brought forward.
        desk_->clearJournal();
        QCOMPARE(send(QStringLiteral("[]"), true), QStringList());
        QCOMPARE(send(phrase({{7, QStringLiteral("unknown")}}), true), QStringList());
    }

    void procedureFollowsIdentifier_data() {
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<bool>("special");
        for (const QString &id : SendPlan::specialIdentifiers())
            QTest::newRow(qPrintable(id)) << id << true;
        QTest::newRow("similar") << QStringLiteral("com.tencent.qqmusic") << false;
        QTest::newRow("case differs") << QStringLiteral("Com.Tencent.QQ") << false;
    }

    void procedureFollowsIdentifier() {
        QFETCH(QString, identifier);
        QFETCH(bool, special);
        static qint32 nextPid = 5151;
        const qint32 pid = nextPid++;
        const QString to = QStringLiteral(" -> %1").arg(pid);
        desk_->applications.append(RecordingBackend::app(pid, identifier));
        target(pid);
        QStringList expected{QStringLiteral("activate %1").arg(pid)};
        if (special)
            expected << QStringLiteral("left") + to;
        expected << QStringLiteral("paste hi") + to << QStringLiteral("enter") + to;
        QCOMPARE(send(phrase({{1, QStringLiteral("hi")}}), true), expected);

        target(pid);
        expected = QStringList{QStringLiteral("activate %1").arg(pid)};
        if (special)
            expected << QStringLiteral("left") + to;
        expected << pngLine(pid) << QStringLiteral("paste x") + to;
        QCOMPARE(send(phrase({{2, QStringLiteral("pic.png")}, {1, QStringLiteral("x")}}), false), expected);
        desk_->applications.removeLast();
    }

    // Whatever the mode, a target that takes the focus late or reads the clipboard late gets
    // every piece once, in order, and the Enter after them.
    void lateFocusAndLateReadsKeepTheOrder_data() {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<int>("focusDelayMs");
        QTest::addColumn<int>("readDelayMs");
        for (const QString &mode : {QStringLiteral("fixed"), QStringLiteral("adaptive")}) {
            QTest::newRow(qPrintable(mode + QStringLiteral(", focus after 90 ms"))) << mode << 90 << 0;
            QTest::newRow(qPrintable(mode + QStringLiteral(", reads after 120 ms"))) << mode << 0 << 120;
            QTest::newRow(qPrintable(mode + QStringLiteral(", both"))) << mode << 60 << 60;
        }
    }

    void lateFocusAndLateReadsKeepTheOrder() {
        QFETCH(QString, mode);
        QFETCH(int, focusDelayMs);
        QFETCH(int, readDelayMs);
        Settings().setSendPauseMode(mode);
        target(chatPid);
        // The first send into a window learns how it pastes; the second one relies on it.
        for (int round = 0; round < 2; ++round) {
            desk_->focusDelayMs = focusDelayMs;
            desk_->readDelayMs = readDelayMs;
            const QStringList got = textPictureText(true);
            desk_->focusDelayMs = 0;
            desk_->readDelayMs = 0;
            QCOMPARE(got,
                     (QStringList{QStringLiteral("activate 4242"), QStringLiteral("paste before -> 4242"),
                                  pngLine(chatPid), QStringLiteral("paste after -> 4242"),
                                  QStringLiteral("enter -> 4242")}));
            QVERIFY(send_->reports().isEmpty());
            target(chatPid);
        }
        Settings().setSendPauseMode(QString());
    }

    // Another program takes the clipboard between the piece going on it and the paste: nothing is
    // pasted (it would be that program's content) and the Enter stays behind.
    void clipboardTakenBeforeThePasteDropsTheSend() {
        target(chatPid);
        const QString foreign = QStringLiteral("someone else's");
        QMetaObject::Connection taker =
            connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [foreign] {
                if (QGuiApplication::clipboard()->text() == QStringLiteral("mine"))
                    QTimer::singleShot(0, [foreign] { QGuiApplication::clipboard()->setText(foreign); });
            });
        const QStringList got = send(phrase({{1, QStringLiteral("mine")}}), true);
        disconnect(taker);
        QCOMPARE(got, QStringList{QStringLiteral("activate 4242")});
        QCOMPARE(send_->reports().size(), 1);
        QVERIFY2(send_->reports()[0].startsWith(QString::fromUtf8("未发送：")),
                 qPrintable(send_->reports()[0]));
    }

    // The agent's clipboard comes back in every format after a send; not when the agent copied
    // something during the send, nor when the setting is off; a huge one is left alone.
    void clipboardComesBack() {
        target(chatPid);
        const auto agentsCopy = [] {
            auto *data = new QMimeData;
            data->setData(QStringLiteral("text/plain"), "order 5531");
            data->setData(QStringLiteral("text/html"), "<b>order</b> 5531");
            data->setData(QStringLiteral("application/x-agent-own"), QByteArray("\0\1\2", 3));
            QGuiApplication::clipboard()->setMimeData(data);
        };
        const auto formatsNow = [] {
            QMap<QString, QByteArray> out;
            const QMimeData *data = QGuiApplication::clipboard()->mimeData();
            for (const QString &format : data->formats())
                out.insert(format, data->data(format));
            return out;
        };
        agentsCopy();
        const auto before = formatsNow();
        QCOMPARE(textPictureText(true).size(), 5);
        QCOMPARE(formatsNow(), before);

        // The pieces carry the hints; the agent's copy made while the last one is there wins.
        bool hinted = true;
        QMetaObject::Connection copier =
            connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [&hinted] {
                const QMimeData *data = QGuiApplication::clipboard()->mimeData();
                if (!data || data->hasFormat(QStringLiteral("text/html")) ||
                    data->text() == QStringLiteral("new"))
                    return;
                hinted = hinted && data->data(QStringLiteral("x-kde-passwordManagerHint")) == "secret";
                if (data->text() == QStringLiteral("after"))
                    QTimer::singleShot(0,
                                       [] { QGuiApplication::clipboard()->setText(QStringLiteral("new")); });
            });
        textPictureText(true);
        disconnect(copier);
        QVERIFY(hinted);
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("new"));

        Settings().setRestoreClipboard(false);
        agentsCopy();
        textPictureText(true);
        Settings().setRestoreClipboard(true);
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("after"));

        QGuiApplication::clipboard()->setText(
            QString(int(ClipboardUtil::maxCopyBytes + 1), QLatin1Char('x')));
        StandardOutput out;
        textPictureText(true);
        QVERIFY(out.text().contains("clipboard not copied before the send: it holds more than 64 MiB"));
        QCOMPARE(send_->reports(), QStringList());
        QGuiApplication::clipboard()->clear();
    }

    // "pasteKeys/<program>" in the settings replaces a program's paste stroke; anything else there
    // leaves the default.
    void pasteKeysFromTheSettings() {
        using Key = DesktopBackend::Key;
        QCOMPARE(PasteKeys::forProgram(QStringLiteral("XTerm"), QStringLiteral("Ctrl+Shift+V")).stroke,
                 (DesktopBackend::Stroke{Key::V, true, true}));
        QVERIFY(!PasteKeys::forProgram(QStringLiteral("XTerm"), QStringLiteral("Ctrl+Shift+V")).primary);
        QVERIFY(PasteKeys::forProgram(QStringLiteral("Chat"), QStringLiteral("shift+insert")).primary);
        QCOMPARE(PasteKeys::forProgram(QStringLiteral("kitty"), QStringLiteral("alt+v")).stroke,
                 (DesktopBackend::Stroke{Key::V, true, true}));
    }

    // The first paste into a window waits out a long silence; from what the window did then, a
    // one-burst program lands at once and a two-burst one waits for its second burst.
    void landingFollowsTheRequests() {
        const PasteLanding::Pattern unknown;
        const QList<Request> oneBurst{{1000, false}, {1002, true}};
        QCOMPARE(PasteLanding::judge({}, 990, 1500, unknown), Verdict::Waiting);
        QCOMPARE(PasteLanding::judge({}, 990, 990 + PasteLanding::maxWaitMs, unknown), Verdict::Missed);
        QCOMPARE(PasteLanding::judge(oneBurst, 990, 1300, unknown), Verdict::Waiting);
        QCOMPARE(PasteLanding::judge(oneBurst, 990, 1002 + PasteLanding::firstQuietMs, unknown),
                 Verdict::Landed);
        const auto single = PasteLanding::learn(oneBurst);
        QCOMPARE(single.bursts, 1);
        QCOMPARE(PasteLanding::judge(oneBurst, 990, 1002 + PasteLanding::settleMs, single), Verdict::Landed);
        // Asked for the types only: the data may come however late, until the send's limit.
        QCOMPARE(PasteLanding::judge({{1000, false}}, 990, 2500, single), Verdict::Waiting);
        QCOMPARE(PasteLanding::judge({{1000, false}}, 990, 990 + PasteLanding::maxWaitMs, single),
                 Verdict::Missed);

        const QList<Request> twoBursts{{1000, false}, {1001, true}, {1500, false}, {1501, true}};
        const auto chromium = PasteLanding::learn(twoBursts);
        QCOMPARE(chromium.bursts, 2);
        QCOMPARE(chromium.gapMs, 499);
        const QList<Request> firstBurst = twoBursts.mid(0, 2);
        QCOMPARE(PasteLanding::judge(firstBurst, 990, 1001 + 600, chromium), Verdict::Waiting);
        QCOMPARE(PasteLanding::judge(twoBursts, 990, 1501 + PasteLanding::settleMs, chromium),
                 Verdict::Landed);
        // A second burst that has begun but not yet asked for the data again is not over.
        const QList<Request> dataToCome{{1000, false}, {1001, true}, {1500, false}, {1511, false}};
        QCOMPARE(PasteLanding::judge(dataToCome, 990, 1511 + PasteLanding::settleMs, chromium),
                 Verdict::Waiting);
        // A page that takes a picture itself asks once: the picture stays as long as the page's
        // handler took with text.
        const auto page = PasteLanding::merged(single, chromium);
        QCOMPARE(PasteLanding::judge(oneBurst, 990, 1002 + 600, page), Verdict::Waiting);
        QCOMPARE(PasteLanding::judge(oneBurst, 990, 1002 + 800, page), Verdict::Landed);
        // A first burst slowed down into two is not the second burst.
        const QList<Request> split{{1000, false}, {1001, true}, {1060, true}};
        QCOMPARE(PasteLanding::judge(split, 990, 1060 + PasteLanding::settleMs, chromium), Verdict::Waiting);
        // A page that handled the paste itself never sends the second burst.
        QCOMPARE(PasteLanding::judge(firstBurst, 990, 1001 + 499 * 3 / 2 + 50, chromium), Verdict::Landed);
    }

    // All or nothing: a step that fails drops the rest of the send, its Enter above all.
    void focusTakenByAnotherProgramDropsTheRest() {
        target(chatPid);
        send_->sender().send(PhraseContent::fromJson(phrase({{1, QStringLiteral("before")},
                                                             {2, QStringLiteral("pic.png")},
                                                             {1, QStringLiteral("after")}})),
                             true);
        QTRY_VERIFY_WITH_TIMEOUT(desk_->journal().contains(QStringLiteral("paste before -> 4242")), 10000);
        desk_->activePid = otherPid;
        waitUntilSent();
        const QStringList got = desk_->journal();
        QVERIFY2(got.filter(QStringLiteral("enter")).isEmpty(), qPrintable(got.join(QLatin1Char('|'))));
        QVERIFY2(got.filter(QStringLiteral("-> 4343")).isEmpty(), qPrintable(got.join(QLatin1Char('|'))));
        QCOMPARE(got.filter(QStringLiteral("activate")).size(), 1);
        QCOMPARE(send_->reports(), QStringList{QString::fromUtf8("未发送：已切换到其他窗口")});
    }

    void targetThatDoesNotComeForwardGetsNothing() {
        target(chatPid);
        desk_->ignoredActivations = -1;
        const QStringList got = send(phrase({{1, QStringLiteral("never")}}), true);
        desk_->ignoredActivations = 0;
        QCOMPARE(got, QStringList{QStringLiteral("activate 4242")});
        QCOMPARE(send_->reports(), QStringList{QString::fromUtf8("未发送：目标窗口没有回到前台")});
    }

    // A modifier held past the wait drops the whole send, not one stroke of it.
    void heldModifierDropsTheWholeSend() {
        target(chatPid);
        desk_->holdModifiers(400);
        QCOMPARE(send(phrase({{1, QStringLiteral("held")}}), false),
                 (QStringList{QStringLiteral("activate 4242"), QStringLiteral("paste held -> 4242")}));

        target(chatPid);
        desk_->holdModifiers(-1);
        const QStringList got = send(phrase({{1, QStringLiteral("stuck")}}), true);
        desk_->holdModifiers(0);
        QCOMPARE(got, QStringList{QStringLiteral("activate 4242")});
        QCOMPARE(send_->reports(), QStringList{QString::fromUtf8("未发送：请先松开 Ctrl、Alt、Shift 键")});
    }

    // Sends never wait for the global pool, which may be full of work that waits itself.
    void sendRunsWhilePoolIsFull() {
        target(chatPid);
        QSemaphore release;
        QThreadPool *pool = QThreadPool::globalInstance();
        for (int i = 0; i < pool->maxThreadCount(); ++i)
            pool->start([&release] { release.acquire(); });
        const QStringList got = send(phrase({{1, QStringLiteral("free")}}), true);
        release.release(pool->maxThreadCount());
        pool->waitForDone();
        QCOMPARE(got, (QStringList{QStringLiteral("activate 4242"), QStringLiteral("paste free -> 4242"),
                                   QStringLiteral("enter -> 4242")}));
    }

    // A GUI thread busy for longer than a second after the click: the send is dropped, never
    // delivered late into whatever is in front by then.
    void busyProgramDropsTheSendInsteadOfSendingLate() {
        target(chatPid);
        send_->sender().send(PhraseContent::fromJson(phrase({{1, QStringLiteral("late")}})), true);
        QThread::msleep(PhraseSender::startWithinMs + 500);
        waitUntilSent();
        const QStringList got = desk_->journal();
        QVERIFY2(got.filter(QStringLiteral("->")).isEmpty(), qPrintable(got.join(QLatin1Char('|'))));
        QCOMPARE(send_->reports().size(), 1);
        QVERIFY2(send_->reports()[0].startsWith(QString::fromUtf8("未发送：")),
                 qPrintable(send_->reports()[0]));
    }

    void clipboardHoldsOnePiece() {
        ClipboardUtil clipboard(send_->desktop());
        const auto png = [] {
            return QGuiApplication::clipboard()->mimeData()->data(QStringLiteral("image/png"));
        };
        QVERIFY(clipboard.setText(QStringLiteral("words")));
        QVERIFY(png().isEmpty());
        const QByteArray jpegish("\xff\xd8\xff\xe0 not really a png", 24);
        QVERIFY(clipboard.setImage(jpegish));
        QCOMPARE(png(), jpegish);
        QVERIFY(!QGuiApplication::clipboard()->mimeData()->hasText());
        QVERIFY(clipboard.setText(QString()));
        QVERIFY(png().isEmpty());

        // From another thread the write happens on the GUI thread while the caller waits; a GUI
        // thread that does not answer in time makes the write fail rather than come late.
        std::atomic<int> written{-1};
        std::thread worker(
            [&written, &clipboard] { written = clipboard.setText(QStringLiteral("worker")) ? 1 : 0; });
        QTRY_COMPARE_WITH_TIMEOUT(written.load(), 1, 5000);
        worker.join();
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("worker"));
        std::thread blocked(
            [&written, &clipboard] { written = clipboard.setText(QStringLiteral("too late")) ? 1 : 0; });
        QThread::msleep(ClipboardUtil::guiWaitMs + 300);
        blocked.join();
        QCOMPARE(written.load(), 0);
        QTest::qWait(50);
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("worker"));
    }

    void withoutDisplayEverythingFails() {
        const QByteArray display = qgetenv("DISPLAY");
        qputenv("DISPLAY", ":65000");
        X11Backend x11;
        qputenv("DISPLAY", display);
        QVERIFY(!x11.available());
        QVERIFY(!x11.activeApplication());
        QVERIFY(x11.runningApplications().isEmpty());
        QVERIFY(!x11.activate(RecordingBackend::app(chatPid, QStringLiteral("Chat"))));
        QVERIFY(!x11.keyStroke(DesktopBackend::Key::V, true));
        QCOMPARE(x11.strokeInto(1, {}), DesktopBackend::StrokeResult::Failed);
        QCOMPARE(x11.focus(1), DesktopBackend::Focus::Gone);
        QVERIFY(!x11.modifiersHeld());
        QVERIFY(x11.icon(1).isNull());
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    SendLogicTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_send_logic.moc"
