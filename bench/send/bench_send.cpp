// Click-to-text: from PhraseSender::send (what a double click on a phrase calls) to the text
// arriving in the target, then to the last piece and the target's Enter, with the waits of the
// adaptive mode and with the fixed pauses (sendPauseMode=fixed), into our paste target and into a
// Chromium chat page. Also the Chromium page whose paste handler takes 150 ms, and the CPU cost of
// the idle front-window tracker. Starts its own Xvfb, openbox, a pastetarget and Chromium, or
// with --sway a headless sway and a native Wayland pastetarget; prints its figures (medians) on
// standard output.
#include "chatpageserver.h"
#include "eventloopwait.h"
#include "model/phrasecontent.h"
#include "model/settings.h"
#include "send/phrasesender.h"
#include "send/sendplan.h"
#include "sendtesting.h"
#include "store/localpath.h"
#include "waylandsession.h"
#include "xvfbsession.h"

#include <QBuffer>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <sys/resource.h>
#include <time.h>
#include <vector>

namespace {

constexpr int rounds = 12;
constexpr int handlerMs = 150;
constexpr int idleSeconds = 10;

qint64 nowUs() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return qint64(t.tv_sec) * 1000000 + t.tv_nsec / 1000;
}

double wallMs() {
    timespec t{};
    clock_gettime(CLOCK_REALTIME, &t);
    return double(t.tv_sec) * 1000.0 + double(t.tv_nsec) / 1e6;
}

double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

bool waitFor(const std::function<bool()> &done, int timeoutMs) {
    return EventLoopWait::until(done, timeoutMs);
}

QStringList logLines(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// Share of one core used by this process while its event loop idles.
double idleCpuShare() {
    const double before = cpuSeconds();
    const qint64 start = nowUs();
    QEventLoop loop;
    QTimer::singleShot(idleSeconds * 1000, &loop, &QEventLoop::quit);
    loop.exec();
    return (cpuSeconds() - before) / (double(nowUs() - start) / 1e6);
}

double median(std::vector<double> values) {
    if (values.empty())
        return -1;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void setMode(SendPlan::PauseMode mode) {
    Settings().setSendPauseMode(mode == SendPlan::PauseMode::Fixed ? QStringLiteral("fixed") : QString());
}

const char *modeName(SendPlan::PauseMode mode) {
    return mode == SendPlan::PauseMode::Fixed ? "fixed" : "adaptive";
}

// Milliseconds after the send: the first text in the target, the last piece, the Enter.
struct Arrival {
    std::vector<double> firstText, lastPiece, enter;

    bool complete() const { return int(enter.size()) == rounds; }
};

// The fixed pauses a phrase's plan holds, for the overhead beside them.
double pausesOf(const QString &json, const RunningApplication &target, SendPlan::PauseMode mode) {
    double ms = 0;
    for (const SendPlan::Step &step : SendPlan::make(PhraseContent::fromJson(json), target, true, mode).steps)
        ms += step.kind == SendPlan::Step::Kind::Pause || step.kind == SendPlan::Step::Kind::Paste ? step.ms
                                                                                                   : 0;
    return ms;
}

void printArrival(const char *where, const char *phrase, SendPlan::PauseMode mode, const Arrival &a,
                  double pausesMs) {
    if (!a.complete()) {
        std::printf("  %-13s %-17s %-8s  a send got lost\n", where, phrase, modeName(mode));
        return;
    }
    std::printf(
        "  %-13s %-17s %-8s  text %7.1f ms   last piece %7.1f ms   Enter %7.1f ms   (pauses %5.1f ms, "
        "overhead %5.1f ms)\n",
        where, phrase, modeName(mode), median(a.firstText), median(a.lastPiece), median(a.enter), pausesMs,
        median(a.enter) - pausesMs);
}

// Sends into the paste target: one warm-up send (a window's first paste waits for a long silence
// to learn how it pastes), then `rounds` measured ones.
Arrival pasteTargetArrival(SendTesting &send, const QString &log, const QString &json, int linesPerSend) {
    Arrival a;
    for (int i = -1; i < rounds; ++i) {
        const qsizetype before = logLines(log).size();
        const qint64 start = nowUs();
        send.sender().send(PhraseContent::fromJson(json), true);
        if (!waitFor([&] { return logLines(log).size() >= before + linesPerSend; }, 20000) ||
            !waitFor([&send] { return !send.sender().isRunning(); }, 20000))
            return a;
        const QStringList lines = logLines(log).mid(before);
        const auto at = [&](const QString &line) {
            return double(line.section(QLatin1Char(' '), 0, 0).toLongLong() - start) / 1000.0;
        };
        if (i >= 0) {
            a.firstText.push_back(at(lines.first()));
            a.lastPiece.push_back(at(lines[linesPerSend - 2]));
            a.enter.push_back(at(lines[linesPerSend - 1]));
        }
        waitFor([] { return false; }, 100);
    }
    return a;
}

// The same into the Chromium chat page; the page stamps each change of its box itself.
Arrival chromiumArrival(SendTesting &send, const ChatPageServer &chat, const QString &json,
                        const QString &expected) {
    Arrival a;
    for (int i = -1; i < rounds; ++i) {
        const qsizetype sentBefore = chat.sent().size(), changesBefore = chat.changes().size();
        const qint64 start = nowUs();
        const double startWall = wallMs();
        send.sender().send(PhraseContent::fromJson(json), true);
        if (!waitFor([&] { return chat.sent().size() > sentBefore && !send.sender().isRunning(); }, 20000) ||
            chat.sent().constLast() != expected) {
            waitFor([&] { return chat.changes().size() > changesBefore; }, 1000);
            QStringList seen;
            for (const ChatPageServer::Change &c : chat.changes().mid(changesBefore))
                seen << QStringLiteral("%1 ms \"%2\"").arg(c.atWallMs - startWall, 0, 'f', 1).arg(c.content);
            std::printf("  Chromium page: send arrived as \"%s\"; the box went %s\n",
                        chat.sent().size() > sentBefore ? qPrintable(chat.sent().constLast()) : "(nothing)",
                        qPrintable(seen.join(QStringLiteral(", "))));
            return a;
        }
        waitFor([&] { return chat.changes().size() > changesBefore; }, 2000);
        const QList<ChatPageServer::Change> changes = chat.changes().mid(changesBefore);
        double first = -1, last = -1;
        for (const ChatPageServer::Change &c : changes) {
            if (first < 0 && !c.content.isEmpty())
                first = c.atWallMs - startWall;
            if (last < 0 && c.content == expected)
                last = c.atWallMs - startWall;
        }
        if (i >= 0 && first >= 0 && last >= 0) {
            a.firstText.push_back(first);
            a.lastPiece.push_back(last);
            a.enter.push_back(double(chat.sentAtUs().constLast() - start) / 1000.0);
        }
        waitFor([] { return false; }, 200);
    }
    return a;
}

// Chromium with the chat page, brought forward and made the target; empty when it did not come up.
std::unique_ptr<QProcess> startChromium(SendTesting &send, const ChatPageServer &chat, int pageHandlerMs,
                                        QTemporaryDir &profile) {
    const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (chromium.isEmpty())
        return nullptr;
    auto browser = std::make_unique<QProcess>();
    browser->start(chromium,
                   {QStringLiteral("--no-sandbox"), QStringLiteral("--user-data-dir=") + profile.path(),
                    QStringLiteral("--no-first-run"), QStringLiteral("--no-default-browser-check"),
                    QStringLiteral("--disable-gpu"), QStringLiteral("--password-store=basic"),
                    QStringLiteral("--app=") + chat.url(pageHandlerMs)});
    std::optional<RunningApplication> window;
    const bool up = waitFor(
        [&] {
            for (const RunningApplication &a : send.applications())
                if (a.title.startsWith(QStringLiteral("Chat")))
                    window = a;
            return chat.ready() && window.has_value();
        },
        60000);
    if (up && waitFor([&] { return send.activate(*window) && send.isActive(*window); }, 10000) &&
        waitFor([&] { return send.targetWindow() == window->window; }, 10000))
        return browser;
    std::printf("  Chromium page: did not come up\n");
    browser->terminate();
    browser->waitForFinished(5000);
    return nullptr;
}

} // namespace

int main(int argc, char **argv) {
    TestEnv env;
    const bool onSway = argc > 1 && QByteArray(argv[1]) == "--sway";
    XvfbSession x11;
    WaylandSession sway;
    if (onSway ? !sway.start() : !x11.start()) {
        std::printf("could not start %s\n", onSway ? "sway" : "Xvfb");
        return 1;
    }
    QGuiApplication app(argc, argv);
    SendTesting send;

    LocalPath::initDirs();
    QByteArray png;
    QBuffer buffer(&png);
    QImage picture(120, 80, QImage::Format_RGB32);
    picture.fill(Qt::darkCyan);
    picture.save(&buffer, "PNG");
    QFile file(LocalPath::imageDir() + QStringLiteral("/pic.png"));
    if (!file.open(QIODevice::WriteOnly) || file.write(png) != png.size())
        return 1;
    file.close();

    QTemporaryDir dir;
    const QString log = dir.filePath(QStringLiteral("target.log"));
    QProcess target;
    target.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // On sway a native Wayland window, known by its app id: the compositor does not tell its pid.
    const QString appId = QStringLiteral("bench.target");
    if (onSway) {
        QProcessEnvironment targetEnv = QProcessEnvironment::systemEnvironment();
        targetEnv.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        target.setProcessEnvironment(targetEnv);
    }
    target.start(QStringLiteral(PASTETARGET_BINARY),
                 {QStringLiteral("--log"), log, QStringLiteral("--stamp"), QStringLiteral("--class"), appId});
    const auto pid = qint32(target.processId());
    std::optional<RunningApplication> window;
    waitFor(
        [&] {
            for (const RunningApplication &a : send.applications())
                if (onSway ? a.appId == appId : a.pid == pid)
                    window = a;
            return window.has_value();
        },
        30000);
    if (!window || !waitFor([&] { return send.activate(*window) && send.isActive(*window); }, 10000)) {
        std::printf("the paste target did not come up\n");
        return 1;
    }

    const double idleOff = idleCpuShare();
    send.tracker().start();
    waitFor([&] { return send.tracker().lastTarget().has_value(); }, 10000);
    const double idleOn = idleCpuShare();

    const QString oneText =
        QStringLiteral("[{\"type\":1,\"value\":\"Thank you for waiting, it ships today.\"}]");
    const QString textPictureText = QStringLiteral(
        "[{\"type\":1,\"value\":\"Here it "
        "is:\"},{\"type\":2,\"value\":\"pic.png\"},{\"type\":1,\"value\":\"Anything else?\"}]");
    using Mode = SendPlan::PauseMode;
    const Mode modes[] = {Mode::Adaptive, Mode::Fixed};
    const char *where = onSway ? "sway target" : "paste target";
    std::printf("%s: click-to-text, PhraseSender::send -> the text in the target, the last piece, the "
                "target's Enter; medians of %d sends (goal: text under 60 ms; overhead beside the pauses "
                "under 15 ms)\n",
                onSway ? "sway, native Wayland target" : "Xvfb + openbox", rounds);
    bool lost = false;
    for (const Mode mode : modes) {
        setMode(mode);
        const Arrival text = pasteTargetArrival(send, log, oneText, 2);
        printArrival(where, "one text", mode, text, pausesOf(oneText, *window, mode));
        const Arrival pieces = pasteTargetArrival(send, log, textPictureText, 4);
        printArrival(where, "text-picture-text", mode, pieces, pausesOf(textPictureText, *window, mode));
        lost = lost || !text.complete() || !pieces.complete();
    }
    SendTesting::stopProcess(target);

    if (!onSway) {
        ChatPageServer chat;
        QTemporaryDir profile;
        if (!chat.start())
            return 1;
        auto browser = startChromium(send, chat, 0, profile);
        lost = lost || !browser;
        for (const Mode mode :
             browser ? std::vector<Mode>{Mode::Adaptive, Mode::Fixed} : std::vector<Mode>{}) {
            setMode(mode);
            const Arrival text = chromiumArrival(send, chat, oneText,
                                                 QStringLiteral("Thank you for waiting, it ships today."));
            printArrival("Chromium page", "one text", mode, text, pausesOf(oneText, *window, mode));
            const Arrival pieces = chromiumArrival(send, chat, textPictureText,
                                                   QStringLiteral("Here it is:[img]Anything else?"));
            printArrival("Chromium page", "text-picture-text", mode, pieces,
                         pausesOf(textPictureText, *window, mode));
            lost = lost || !text.complete() || !pieces.complete();
        }
        if (browser)
            SendTesting::stopProcess(*browser);

        // A page whose paste handler takes 150 ms: each piece waits for Chromium's second read.
        ChatPageServer slowChat;
        QTemporaryDir slowProfile;
        if (!slowChat.start())
            return 1;
        auto slow = startChromium(send, slowChat, handlerMs, slowProfile);
        lost = lost || !slow;
        std::printf("Chromium page whose paste handler takes %d ms, text-picture-text:\n", handlerMs);
        for (const Mode mode : slow ? std::vector<Mode>{Mode::Adaptive, Mode::Fixed} : std::vector<Mode>{}) {
            setMode(mode);
            const Arrival pieces = chromiumArrival(send, slowChat, textPictureText,
                                                   QStringLiteral("Here it is:[img]Anything else?"));
            printArrival("Chromium page", "text-picture-text", mode, pieces,
                         pausesOf(textPictureText, *window, mode));
            lost = lost || !pieces.complete();
        }
        if (slow)
            SendTesting::stopProcess(*slow);
    }
    std::printf("idle CPU over %d s: tracker off %.3f%%, on %.3f%%; the tracker costs %.3f%% of one core "
                "(target: under 0.5%%)\n",
                idleSeconds, idleOff * 100, idleOn * 100, (idleOn - idleOff) * 100);
    return lost ? 1 : 0;
}
