#include "headlesschromium.h"

#include <QDeadlineTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStandardPaths>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

extern char **environ;

namespace {

constexpr int replyTimeoutMs = 30000;

} // namespace

HeadlessChromium::~HeadlessChromium() {
    if (toBrowser_ >= 0)
        ::close(toBrowser_);
    if (fromBrowser_ >= 0)
        ::close(fromBrowser_);
    if (pid_ > 0) {
        ::kill(pid_, SIGTERM);
        for (int i = 0; i < 50; ++i) {
            if (::waitpid(pid_, nullptr, WNOHANG) == pid_)
                return;
            ::usleep(100 * 1000);
        }
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
}

bool HeadlessChromium::start() {
    const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (chromium.isEmpty()) {
        error_ = QStringLiteral("chromium is missing: run scripts/setup");
        return false;
    }
    // The browser reads commands on descriptor 3 and writes replies on descriptor 4.
    int commands[2], replies[2];
    if (::pipe2(commands, O_CLOEXEC) != 0 || ::pipe2(replies, O_CLOEXEC) != 0) {
        error_ = QStringLiteral("pipe failed");
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, commands[0], 3);
    posix_spawn_file_actions_adddup2(&actions, replies[1], 4);
    const QByteArray binary = chromium.toLocal8Bit();
    // As root Chromium runs only without its sandbox.
    std::vector<QByteArray> args{binary,
                                 "--headless",
                                 "--no-sandbox",
                                 "--disable-gpu",
                                 "--no-first-run",
                                 "--no-default-browser-check",
                                 "--password-store=basic",
                                 "--remote-debugging-pipe",
                                 "--user-data-dir=" + profile_.path().toLocal8Bit(),
                                 "about:blank"};
    std::vector<char *> argv;
    for (auto &a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    const int spawned = posix_spawn(&pid_, binary.constData(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(commands[0]);
    ::close(replies[1]);
    toBrowser_ = commands[1];
    fromBrowser_ = replies[0];
    if (spawned != 0) {
        pid_ = -1;
        error_ = QStringLiteral("cannot start chromium");
        return false;
    }
    const auto target = call(QStringLiteral("Target.createTarget"),
                             {{QStringLiteral("url"), QStringLiteral("about:blank")}}, false);
    const auto attached = call(QStringLiteral("Target.attachToTarget"),
                               {{QStringLiteral("targetId"), target.value(QStringLiteral("targetId"))},
                                {QStringLiteral("flatten"), true}},
                               false);
    session_ = attached.value(QStringLiteral("sessionId")).toString();
    if (session_.isEmpty()) {
        error_ = QStringLiteral("no page to drive: ") + error_;
        return false;
    }
    call(QStringLiteral("Page.enable"), {});
    return error_.isEmpty();
}

QJsonObject HeadlessChromium::readMessage(int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        if (const auto end = pending_.indexOf('\0'); end >= 0) {
            const auto message = pending_.left(end);
            pending_.remove(0, end + 1);
            return QJsonDocument::fromJson(message).object();
        }
        pollfd p{fromBrowser_, POLLIN, 0};
        if (::poll(&p, 1, int(qMax<qint64>(0, deadline.remainingTime()))) <= 0)
            return {};
        char chunk[65536];
        const auto n = ::read(fromBrowser_, chunk, sizeof chunk);
        if (n <= 0)
            return {};
        pending_.append(chunk, int(n));
    }
}

QJsonObject HeadlessChromium::call(const QString &method, const QJsonObject &params, bool inPage) {
    const int id = nextId_++;
    QJsonObject message{
        {QStringLiteral("id"), id}, {QStringLiteral("method"), method}, {QStringLiteral("params"), params}};
    if (inPage)
        message.insert(QStringLiteral("sessionId"), session_);
    const QByteArray bytes = QJsonDocument(message).toJson(QJsonDocument::Compact) + '\0';
    if (::write(toBrowser_, bytes.constData(), size_t(bytes.size())) != bytes.size()) {
        error_ = QStringLiteral("the browser stopped taking commands");
        return {};
    }
    QDeadlineTimer deadline(replyTimeoutMs);
    while (!deadline.hasExpired()) {
        const auto reply = readMessage(int(deadline.remainingTime()));
        if (reply.isEmpty())
            break;
        if (reply.value(QStringLiteral("method")).toString() == QStringLiteral("Page.loadEventFired"))
            ++loadsSeen_;
        if (reply.value(QStringLiteral("id")).toInt() != id)
            continue;
        if (reply.contains(QStringLiteral("error"))) {
            error_ =
                method + QStringLiteral(": ") +
                QString::fromUtf8(QJsonDocument(reply.value(QStringLiteral("error")).toObject()).toJson());
            return {};
        }
        return reply.value(QStringLiteral("result")).toObject();
    }
    error_ = method + QStringLiteral(": no answer");
    return {};
}

bool HeadlessChromium::waitForLoad() {
    QDeadlineTimer deadline(replyTimeoutMs);
    while (loadsSeen_ == 0 && !deadline.hasExpired()) {
        const auto message = readMessage(int(deadline.remainingTime()));
        if (message.isEmpty())
            break;
        if (message.value(QStringLiteral("method")).toString() == QStringLiteral("Page.loadEventFired"))
            ++loadsSeen_;
    }
    if (loadsSeen_ == 0) {
        error_ = QStringLiteral("the page did not load");
        return false;
    }
    --loadsSeen_;
    return true;
}

bool HeadlessChromium::open(const QString &url) {
    loadsSeen_ = 0;
    const auto navigated = call(QStringLiteral("Page.navigate"), {{QStringLiteral("url"), url}});
    if (navigated.isEmpty() || navigated.contains(QStringLiteral("errorText")))
        return false;
    return waitForLoad();
}

QJsonValue HeadlessChromium::evaluate(const QString &expression) {
    const auto result = call(QStringLiteral("Runtime.evaluate"), {{QStringLiteral("expression"), expression},
                                                                  {QStringLiteral("returnByValue"), true},
                                                                  {QStringLiteral("awaitPromise"), true}});
    if (result.contains(QStringLiteral("exceptionDetails"))) {
        error_ = QString::fromUtf8(
            QJsonDocument(result.value(QStringLiteral("exceptionDetails")).toObject()).toJson());
        return QJsonValue(QJsonValue::Undefined);
    }
    return result.value(QStringLiteral("result")).toObject().value(QStringLiteral("value"));
}

bool HeadlessChromium::submit(const QString &expression) {
    loadsSeen_ = 0;
    if (evaluate(QStringLiteral("(() => { ") + expression + QStringLiteral("; return true; })()")) !=
        QJsonValue(true))
        return false;
    return waitForLoad();
}
