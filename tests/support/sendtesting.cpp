#include "sendtesting.h"

#include "desktop/desktopsession.h"
#include "eventloopwait.h"
#include "store/localpath.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>

SendTesting::SendTesting(std::unique_ptr<DesktopBackend> desktop)
    : desktop_(desktop ? std::move(desktop) : DesktopSession::createBackend(settings_)),
      tracker_(std::make_unique<TargetWindowTracker>(*desktop_)),
      sender_(std::make_unique<PhraseSender>(settings_, *desktop_, *tracker_)) {
    connect(sender_.get(), &PhraseSender::reported, this,
            [this](const QString &message) { reports_ << message; });
}

SendTesting::~SendTesting() = default;

QList<RunningApplication> SendTesting::applications() const {
    return desktop_->runningApplications();
}

std::optional<RunningApplication> SendTesting::applicationOf(qint32 pid) const {
    for (const RunningApplication &app : applications())
        if (app.pid == pid)
            return app;
    return std::nullopt;
}

std::optional<RunningApplication> SendTesting::applicationWithId(const QString &appId) const {
    for (const RunningApplication &app : applications())
        if (app.appId == appId)
            return app;
    return std::nullopt;
}

std::optional<RunningApplication> SendTesting::windowTitled(const QString &title) const {
    for (const RunningApplication &app : applications())
        if (app.title == title)
            return app;
    return std::nullopt;
}

qint32 SendTesting::frontPid() const {
    const auto front = desktop_->activeApplication();
    return front ? front->pid : -1;
}

bool SendTesting::isActive(const RunningApplication &application) const {
    const auto front = desktop_->activeApplication();
    return front && front->window == application.window;
}

bool SendTesting::activate(const RunningApplication &application) const {
    return desktop_->activate(application);
}

qint32 SendTesting::targetPid() const {
    const auto target = tracker_->lastTarget();
    return target ? target->pid : -1;
}

quint64 SendTesting::targetWindow() const {
    const auto target = tracker_->lastTarget();
    return target ? target->window : 0;
}

QString SendTesting::targetAppId() const {
    const auto target = tracker_->lastTarget();
    return target && target->appId ? *target->appId : QString();
}

bool SendTesting::sendAndSettle(const QString &json, bool isEnter) {
    sender_->send(PhraseContent::fromJson(json), isEnter);
    return settle();
}

bool SendTesting::settle() {
    constexpr int timeoutMs = 20000;
    if (!EventLoopWait::until([this] { return !sender_->isRunning(); }, timeoutMs))
        return false;
    // The send thread's last report is queued behind this.
    bool delivered = false;
    QMetaObject::invokeMethod(
        this, [&delivered] { delivered = true; }, Qt::QueuedConnection);
    return EventLoopWait::until([&delivered] { return delivered; }, timeoutMs);
}

QStringList SendTesting::sendAndRead(const QString &json, bool isEnter,
                                     const std::function<QStringList()> &read, qsizetype count) {
    const qsizetype before = read().size();
    if (!sendAndSettle(json, isEnter))
        return {};
    EventLoopWait::until([&] { return read().size() >= before + count; }, 10000);
    return read().mid(before);
}

QStringList SendTesting::sendAndRead(const QString &json, bool isEnter, const QString &log, qsizetype count) {
    return sendAndRead(
        json, isEnter, [&log] { return logLines(log); }, count);
}

QStringList SendTesting::sendAndLand(const QString &json, bool isEnter, const QString &log, qsizetype count) {
    return sendAndRead(
        json, isEnter, [&log] { return landed(logLines(log)); }, count);
}

QStringList SendTesting::landed(const QStringList &lines) {
    static const QRegularExpression paste(QStringLiteral("^paste (?:nothing|(?:types=\\S* )?(.*))"));
    QStringList result;
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = paste.match(line);
        if (match.hasMatch())
            result << (match.capturedLength(1) ? match.captured(1) : QStringLiteral("nothing"));
        else if (line != QLatin1String("ready") && !line.startsWith(QLatin1String("focus ")))
            result << line;
    }
    return result;
}

void SendTesting::stopProcess(QProcess &process) {
    process.terminate();
    if (!process.waitForFinished(5000))
        process.kill();
    process.waitForFinished(2000);
}

QStringList SendTesting::logLines(const QString &path) {
    return QString::fromUtf8(fileBytes(path)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QByteArray SendTesting::fileBytes(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray SendTesting::writePicture(const QString &name, QSize size, QColor color) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    QByteArray png;
    QBuffer buffer(&png);
    QFile file(LocalPath::imageDir() + QLatin1Char('/') + name);
    if (!image.save(&buffer, "PNG") || !file.open(QIODevice::WriteOnly) || file.write(png) != png.size())
        return {};
    return png;
}
