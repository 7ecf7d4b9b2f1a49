#include "cloudservice.h"

#include "postgrescluster.h"

#include <QCryptographicHash>
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

namespace {

// With QUILLORA_TEST_BACKEND=postgresql every instance keeps its data in a database of one cluster
// shared by the test program: one database per data folder, so a restart on the same folder finds
// its data again.
QString sharedDatabaseFor(const QString &dataDir) {
    static PostgresCluster cluster;
    static const bool started = [] {
        if (cluster.start())
            return true;
        qWarning("PostgreSQL did not start: %s", qPrintable(cluster.error()));
        return false;
    }();
    if (!started)
        return {};
    const auto name =
        QStringLiteral("svc_") +
        QString::fromLatin1(
            QCryptographicHash::hash(dataDir.toUtf8(), QCryptographicHash::Md5).toHex().left(16));
    if (!cluster.createDatabase(name)) {
        qWarning("%s", qPrintable(cluster.error()));
        return {};
    }
    return cluster.url(name);
}

} // namespace

bool CloudService::usesPostgres() {
    return qgetenv("QUILLORA_TEST_BACKEND") == "postgresql";
}

bool CloudService::start(const QString &dataDir) {
    dataDir_ = dataDir.isEmpty() ? ownData_.path() : dataDir;
    if (usesPostgres() && database_.isEmpty() && (database_ = sharedDatabaseFor(dataDir_)).isEmpty())
        return false;
    process_.setProcessChannelMode(QProcess::SeparateChannels);
    process_.setReadChannel(QProcess::StandardOutput);
    process_.start(binary(), QStringList{QStringLiteral("serve"), QStringLiteral("--port"),
                                         QString::number(fixedPort_)} +
                                 storageArgs() + extraArgs_);
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

QStringList CloudService::storageArgs() const {
    QStringList args{QStringLiteral("--data"), dataDir_};
    if (!database_.isEmpty())
        args << QStringLiteral("--database") << database_;
    return args;
}

bool CloudService::restart() {
    stop();
    fixedPort_ = port_;
    const bool started = start(dataDir_);
    fixedPort_ = 0;
    return started;
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
    p.start(binary(), args + storageArgs());
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
