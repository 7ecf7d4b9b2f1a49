#include "cloudservice.h"

#include <QDeadlineTimer>
#include <QRegularExpression>

CloudService::CloudService(QStringList extraArgs) : extraArgs_(std::move(extraArgs)) {}

CloudService::~CloudService() {
    stop();
}

QString CloudService::binary() {
    const QByteArray overridden = qgetenv("QUILLORA_CLOUD_BINARY");
    return overridden.isEmpty() ? QStringLiteral(QUILLORA_CLOUD_BINARY) : QString::fromLocal8Bit(overridden);
}

bool CloudService::start(const QString &dataDir) {
    dataDir_ = dataDir.isEmpty() ? ownData_.path() : dataDir;
    process_.setProcessChannelMode(QProcess::SeparateChannels);
    process_.setReadChannel(QProcess::StandardOutput);
    process_.start(program_, QStringList{QStringLiteral("serve"), QStringLiteral("--port"),
                                         QStringLiteral("0"), QStringLiteral("--data"), dataDir_} +
                                 extraArgs_);
    if (!process_.waitForStarted(10000))
        return false;
    static const QRegularExpression listening(QStringLiteral("listening on (https?://[^\\s]+):(\\d+)"));
    QByteArray seen;
    QDeadlineTimer deadline(20000);
    while (!deadline.hasExpired()) {
        if (!process_.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime()))) &&
            process_.state() != QProcess::Running)
            break;
        seen += process_.readAllStandardOutput();
        const auto match = listening.match(QString::fromUtf8(seen));
        if (match.hasMatch()) {
            port_ = quint16(match.captured(2).toUInt());
            baseUrl_ = match.captured(1) + QLatin1Char(':') + match.captured(2);
            return true;
        }
    }
    qWarning("quillora-cloud did not start: %s %s", seen.constData(),
             process_.readAllStandardError().constData());
    return false;
}

void CloudService::stop() {
    if (process_.state() == QProcess::NotRunning)
        return;
    process_.terminate();
    if (!process_.waitForFinished(5000)) {
        process_.kill();
        process_.waitForFinished(2000);
    }
}

int CloudService::run(const QStringList &args, const QByteArray &stdinData, QByteArray *output) const {
    QProcess p;
    p.start(program_, args + QStringList{QStringLiteral("--data"), dataDir_});
    if (!p.waitForStarted(10000))
        return -1;
    p.write(stdinData);
    p.closeWriteChannel();
    if (!p.waitForFinished(60000))
        return -1;
    if (output)
        *output = p.readAllStandardOutput() + p.readAllStandardError();
    return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
}

bool CloudService::addUser(const QString &name, const QString &password) const {
    return run({QStringLiteral("adduser"), name}, password.toUtf8() + '\n') == 0;
}
