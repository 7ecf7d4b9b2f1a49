#include "model/logging.h"
#include "recordingbackend.h"
#include "sendtesting.h"
#include "store/localpath.h"
#include "testenv.h"

#include <QBuffer>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QProcess>
#include <QTimer>
#include <QtTest>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

// Quitting in the middle of a send: the program always ends. A send that notices the quit stops
// after the stroke in hand; one stuck inside the desktop (a stroke that never returns) cannot be
// waited for: stopping the sender says so at once, and the process ends without it, as main() does.

namespace {

constexpr qint32 chatPid = 4242;

// Each stroke takes strokeMs; when stuck, the first stroke never returns.
class SlowBackend : public RecordingBackend {
public:
    int strokeMs = 250;
    bool stuck = false;
    std::atomic<bool> stroking = false;

    StrokeResult strokeInto(quint64 window, Stroke stroke) override {
        stroking = true;
        if (stuck)
            for (;;)
                std::this_thread::sleep_for(std::chrono::hours(1));
        std::this_thread::sleep_for(std::chrono::milliseconds(strokeMs));
        return RecordingBackend::strokeInto(window, stroke);
    }

    int pastes() const { return int(journal().filter(QStringLiteral("paste ")).size()); }
};

// Text and pictures alternating: five pastes with a Left after each picture.
QString longPhrase() {
    return QStringLiteral(
        R"([{"type":1,"value":"one"},{"type":2,"value":"pic.png"},{"type":1,"value":"two"},)"
        R"({"type":2,"value":"pic.png"},{"type":1,"value":"three"}])");
}

bool writePicture() {
    QImage image(3, 2, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QFile file(LocalPath::imageDir() + QStringLiteral("/pic.png"));
    return file.open(QIODevice::WriteOnly) && image.save(&file, "PNG");
}

// The program under test: quits as soon as the first paste is typed (or, when stuck, is being typed),
// then prints how many pastes reached the target once the application object is gone.
int child(int argc, char **argv, bool stuck) {
    qInstallMessageHandler(logging::printPlainLine);
    int pastes = -1;
    {
        QGuiApplication app(argc, argv);
        LocalPath::initDirs();
        if (!writePicture())
            return 2;
        auto backend = std::make_unique<SlowBackend>();
        SlowBackend *desk = backend.get();
        desk->stuck = stuck;
        const qint32 own = qint32(QCoreApplication::applicationPid());
        desk->applications = {RecordingBackend::app(own, QStringLiteral("quillora")),
                              RecordingBackend::app(chatPid, QStringLiteral("Chat"))};
        desk->activePid = chatPid;
        SendTesting send(std::move(backend));
        send.tracker().start();

        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, &app, [&] {
            if (!send.sender().isRunning()) {
                if (send.tracker().lastTarget()) {
                    desk->activePid = own;
                    send.sender().send(PhraseContent::fromJson(longPhrase()), true);
                }
                return;
            }
            if (stuck ? desk->stroking.load() : desk->pastes() >= 1) {
                qInfo("quitting mid-send");
                app.quit();
            }
        });
        poll.start(20);
        QTimer::singleShot(30000, &app, [&] { app.exit(3); });
        if (app.exec() != 0)
            return 3;
        poll.stop();
        if (!send.sender().stop()) {
            std::fflush(nullptr);
            std::_Exit(0);
        }
        pastes = desk->pastes();
    }
    qInfo("pastes %d", pastes);
    return 0;
}

struct ChildRun {
    bool ended = false;
    int exitCode = -1;
    QString output;
};

ChildRun runChild(const QString &mode) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SEND_QUIT_CHILD"), mode);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(), {});
    ChildRun run;
    run.ended = process.waitForFinished(60000);
    if (!run.ended)
        process.kill();
    process.waitForFinished();
    run.exitCode = process.exitCode();
    run.output = QString::fromUtf8(process.readAll());
    return run;
}

} // namespace

class SendQuitTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The send sees the quit between two strokes and stops: the rest of the phrase never goes out,
    // and the program ends in the ordinary way.
    void quitStopsTheSend() {
        const ChildRun run = runChild(QStringLiteral("slow"));
        QVERIFY2(run.ended, qPrintable(run.output));
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.output.contains(QStringLiteral("quitting mid-send")), qPrintable(run.output));
        QVERIFY2(!run.output.contains(QStringLiteral("quitting while a send is still running")),
                 qPrintable(run.output));
        const qsizetype at = run.output.indexOf(QStringLiteral("pastes "));
        QVERIFY2(at >= 0, qPrintable(run.output));
        const int pastes = run.output.mid(at + 7).section(QLatin1Char('\n'), 0, 0).toInt();
        QVERIFY2(pastes >= 1 && pastes < 5, qPrintable(run.output));
    }

    // A stroke stuck in the desktop: the program ends anyway, and says why.
    void quitWithAStuckSend() {
        const ChildRun run = runChild(QStringLiteral("stuck"));
        QVERIFY2(run.ended, qPrintable(run.output));
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.output.contains(QStringLiteral("quitting while a send is still running")),
                 qPrintable(run.output));
        QVERIFY2(!run.output.contains(QStringLiteral("pastes ")), qPrintable(run.output));
    }
};

int main(int argc, char **argv) {
    const QByteArray mode = qgetenv("SEND_QUIT_CHILD");
    if (!mode.isEmpty())
        return child(argc, argv, mode == "stuck");
    TestEnv env;
    QCoreApplication app(argc, argv);
    SendQuitTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_send_quit.moc"
