#include "recordingbackend.h"
#include "send/clipboardutil.h"
#include "send/keystrokes.h"
#include "send/phrasedelivery.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "send/x11/x11backend.h"
#include "store/localpath.h"
#include "testenv.h"

#include <QBuffer>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QtConcurrent>
#include <QtTest>

namespace {

constexpr qint32 chatPid = 4242;

QString phrase(const QList<QPair<int, QString>> &pieces) {
    QStringList items;
    for (const auto &[type, value] : pieces)
        items << QStringLiteral("{\"type\":%1,\"value\":\"%2\"}").arg(type).arg(value);
    return QLatin1Char('[') + items.join(QLatin1Char(',')) + QLatin1Char(']');
}

qint32 ownPid() {
    return qint32(QCoreApplication::applicationPid());
}

} // namespace

class SendLogicTest : public QObject {
    Q_OBJECT

private:
    RecordingBackend *desk_ = nullptr;
    QByteArray png_;

    // The tracker sees pid in front, then the user clicks back into this program.
    void target(qint32 pid) {
        desk_->activePid = pid;
        QTRY_VERIFY_WITH_TIMEOUT(TargetWindowTracker::lastTarget() &&
                                     TargetWindowTracker::lastTarget()->processIdentifier == pid,
                                 5000);
        desk_->activePid = ownPid();
        QTest::qWait(3 * TargetWindowTracker::periodMs);
        desk_->clearJournal();
    }

    QStringList send(const QString &json, bool isEnter) {
        PhraseSender::send(json, isEnter);
        QDeadlineTimer deadline(20000);
        while (PhraseSender::runs() && !deadline.hasExpired())
            QTest::qWait(10);
        QTest::qWait(100); // strokes still queued for the GUI thread
        return desk_->journal();
    }

private Q_SLOTS:
    void initTestCase() {
        auto backend = std::make_unique<RecordingBackend>();
        desk_ = backend.get();
        desk_->applications = {RecordingBackend::app(ownPid(), QStringLiteral("quillora")),
                               RecordingBackend::app(chatPid, QStringLiteral("Chat"))};
        desk_->activePid = ownPid();
        DesktopBackend::setInstance(std::move(backend));

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
        TargetWindowTracker::start();
        QVERIFY(TargetWindowTracker::isRun());
        QTest::qWait(3 * TargetWindowTracker::periodMs);
        QVERIFY(!TargetWindowTracker::lastTarget());
        QVERIFY(send(phrase({{1, QStringLiteral("nobody")}}), true).isEmpty());

        target(chatPid);
        QCOMPARE(TargetWindowTracker::lastTarget()->bundleIdentifier,
                 std::optional<QString>(QStringLiteral("Chat")));
        desk_->activePid = -1;
        QTest::qWait(3 * TargetWindowTracker::periodMs);
        QCOMPARE(TargetWindowTracker::lastTarget()->processIdentifier, chatPid);
    }

    void piecesInOrderThenEnter() {
        target(chatPid);
        const QStringList got = send(phrase({{1, QStringLiteral("before")},
                                             {2, QStringLiteral("pic.png")},
                                             {2, QStringLiteral("missing.png")},
                                             {1, QStringLiteral("after")}}),
                                     true);
        QCOMPARE(got, (QStringList{QStringLiteral("activate 4242"), QStringLiteral("paste before -> 4242"),
                                   QStringLiteral("paste png %1 bytes -> 4242").arg(png_.size()),
                                   QStringLiteral("paste after -> 4242"), QStringLiteral("enter -> 4242")}));
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
        for (const QString &id : PhraseDelivery::specialIdentifiers())
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
        expected << QStringLiteral("paste png %1 bytes").arg(png_.size()) + to
                 << QStringLiteral("paste x") + to;
        QCOMPARE(send(phrase({{2, QStringLiteral("pic.png")}, {1, QStringLiteral("x")}}), false), expected);
        desk_->applications.removeLast();
    }

    // Keys go to whatever window is focused, so a stroke waits for the target to be in front.
    void strokesOnlyReachTheTargetProcess() {
        target(chatPid);
        desk_->ignoredActivations = 1;
        QCOMPARE(send(phrase({{1, QStringLiteral("late")}}), false),
                 (QStringList{QStringLiteral("activate 4242"), QStringLiteral("activate 4242"),
                              QStringLiteral("paste late -> 4242")}));

        target(chatPid);
        desk_->ignoredActivations = -1;
        const QStringList got = send(phrase({{1, QStringLiteral("never")}}), true);
        desk_->ignoredActivations = 0;
        QVERIFY2(got.filter(QStringLiteral("->")).isEmpty(), qPrintable(got.join(QLatin1Char('|'))));
        QVERIFY(got.size() >= 2);
    }

    void strokesWaitForModifierRelease() {
        target(chatPid);
        desk_->holdModifiers(400);
        QCOMPARE(send(phrase({{1, QStringLiteral("held")}}), false),
                 (QStringList{QStringLiteral("activate 4242"), QStringLiteral("paste held -> 4242")}));

        target(chatPid);
        desk_->holdModifiers(-1);
        send(phrase({{1, QStringLiteral("stuck")}}), false);
        QTest::qWait(KeyStrokes::modifierWaitMs + 500);
        desk_->holdModifiers(0);
        QCOMPARE(desk_->journal(), QStringList{QStringLiteral("activate 4242")});
    }

    void keysKeepCallOrder() {
        desk_->activePid = chatPid;
        desk_->clearJournal();
        ClipboardUtil::setText(QStringLiteral("v"));
        const RunningApplication chat = RecordingBackend::app(chatPid, QStringLiteral("Chat"));
        KeyStrokes::paste(chat);
        KeyStrokes::enter();
        KeyStrokes::leftArrow(chat);
        KeyStrokes::paste();
        QTRY_COMPARE_WITH_TIMEOUT(desk_->journal().size(), 4, 5000);
        QCOMPARE(desk_->journal(),
                 (QStringList{QStringLiteral("paste v -> 4242"), QStringLiteral("enter -> 4242"),
                              QStringLiteral("left -> 4242"), QStringLiteral("paste v -> 4242")}));
        desk_->activePid = ownPid();
    }

    void clipboardHoldsOnePiece() {
        QVERIFY(ClipboardUtil::setText(QStringLiteral("words")));
        QVERIFY(!ClipboardUtil::getImageData());
        QVERIFY(!ClipboardUtil::getImageBase64());
        const QByteArray jpegish("\xff\xd8\xff\xe0 not really a png", 24);
        QVERIFY(ClipboardUtil::setImage(jpegish));
        QCOMPARE(ClipboardUtil::getImageData(), std::optional<QByteArray>(jpegish));
        QCOMPARE(ClipboardUtil::getImageBase64(),
                 std::optional<QString>(QString::fromLatin1(jpegish.toBase64())));
        QVERIFY(!QGuiApplication::clipboard()->mimeData()->hasText());
        QVERIFY(ClipboardUtil::setText(QString()));
        QVERIFY(!ClipboardUtil::getImageData());

        // From a worker thread the write happens on the GUI thread while the caller waits.
        QFuture<bool> fromWorker =
            QtConcurrent::run([] { return ClipboardUtil::setText(QStringLiteral("worker")); });
        QTRY_VERIFY_WITH_TIMEOUT(fromWorker.isFinished(), 5000);
        QVERIFY(fromWorker.result());

        // Until something reads the new content, a worker waiting for the paste times out.
        QFuture<bool> unread = QtConcurrent::run([] { return ClipboardUtil::waitUntilFetched(200); });
        QTRY_VERIFY_WITH_TIMEOUT(unread.isFinished(), 5000);
        QVERIFY(!unread.result());
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("worker"));
        QFuture<bool> read = QtConcurrent::run([] { return ClipboardUtil::waitUntilFetched(200); });
        QTRY_VERIFY_WITH_TIMEOUT(read.isFinished(), 5000);
        QVERIFY(read.result());
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
