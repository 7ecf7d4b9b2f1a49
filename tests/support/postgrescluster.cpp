#include "postgrescluster.h"

#include <QDir>
#include <QProcess>

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace {

const char *const superuser = "quillora";

bool asRoot() {
    return ::geteuid() == 0;
}

} // namespace

PostgresCluster::~PostgresCluster() {
    if (running_)
        stop(true);
    if (!folder_.isEmpty())
        QDir(folder_).removeRecursively();
}

QString PostgresCluster::binDir() {
    const QByteArray overridden = qgetenv("QUILLORA_PG_BINDIR");
    if (!overridden.isEmpty())
        return QString::fromLocal8Bit(overridden);
    QDir versions(QStringLiteral("/usr/lib/postgresql"));
    auto names = versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    std::sort(names.begin(), names.end(),
              [](const QString &a, const QString &b) { return a.toInt() > b.toInt(); });
    for (const auto &name : names)
        if (QFile::exists(versions.filePath(name + QStringLiteral("/bin/initdb"))))
            return versions.filePath(name + QStringLiteral("/bin"));
    return {};
}

bool PostgresCluster::runTool(const QString &tool, const QStringList &args, int timeoutMs,
                              QByteArray *output) {
    const QString program = binDir() + QLatin1Char('/') + tool;
    QProcess p;
    // The server's output goes to its log file; what is read here is the tool's own.
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.setWorkingDirectory(QStringLiteral("/")); // nobody may not enter the caller's folder
    if (asRoot())
        p.start(QStringLiteral("runuser"),
                QStringList{QStringLiteral("-u"), QStringLiteral("nobody"), QStringLiteral("--"), program} +
                    args);
    else
        p.start(program, args);
    if (!p.waitForStarted(10000) || !p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished(2000);
        error_ = tool + QStringLiteral(" did not finish");
        return false;
    }
    const auto printed = p.readAll();
    if (output)
        *output = printed;
    if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0) {
        error_ = tool + QStringLiteral(": ") + QString::fromLocal8Bit(printed.right(2000));
        return false;
    }
    return true;
}

bool PostgresCluster::start() {
    if (binDir().isEmpty()) {
        error_ = QStringLiteral("no PostgreSQL server installed (run scripts/setup)");
        return false;
    }
    if (folder_.isEmpty()) {
        QByteArray templ = QDir::tempPath().toLocal8Bit() + "/quillora-pg-XXXXXX";
        if (!::mkdtemp(templ.data())) {
            error_ = QStringLiteral("cannot create a temporary folder");
            return false;
        }
        folder_ = QString::fromLocal8Bit(templ);
        if (asRoot()) {
            const passwd *nobody = ::getpwnam("nobody");
            if (!nobody || ::chown(templ.constData(), nobody->pw_uid, nobody->pw_gid) != 0) {
                error_ = QStringLiteral("cannot hand the folder to nobody");
                return false;
            }
        }
        if (!runTool(QStringLiteral("initdb"),
                     {QStringLiteral("-D"), folder_ + QStringLiteral("/data"), QStringLiteral("-U"),
                      QLatin1String(superuser), QStringLiteral("-A"), QStringLiteral("trust"),
                      QStringLiteral("-E"), QStringLiteral("UTF8"), QStringLiteral("--locale=C"),
                      QStringLiteral("--no-sync")},
                     120000))
            return false;
    }
    // Only the socket in the folder: nothing else on the machine can reach it.
    const QString options =
        QStringLiteral("-k %1 -c listen_addresses= -c fsync=off -c max_connections=200").arg(folder_);
    if (!runTool(QStringLiteral("pg_ctl"),
                 {QStringLiteral("-D"), folder_ + QStringLiteral("/data"), QStringLiteral("-l"),
                  folder_ + QStringLiteral("/server.log"), QStringLiteral("-w"), QStringLiteral("-t"),
                  QStringLiteral("60"), QStringLiteral("-o"), options, QStringLiteral("start")},
                 90000))
        return false;
    running_ = true;
    return true;
}

bool PostgresCluster::stop(bool immediate) {
    if (!running_)
        return true;
    running_ = false;
    return runTool(QStringLiteral("pg_ctl"),
                   {QStringLiteral("-D"), folder_ + QStringLiteral("/data"), QStringLiteral("-w"),
                    QStringLiteral("-m"), immediate ? QStringLiteral("immediate") : QStringLiteral("fast"),
                    QStringLiteral("stop")});
}

bool PostgresCluster::createDatabase(const QString &name) {
    QByteArray found;
    const QStringList where{QStringLiteral("-h"), folder_, QStringLiteral("-U"), QLatin1String(superuser)};
    if (!runTool(QStringLiteral("psql"),
                 where +
                     QStringList{QStringLiteral("-d"), QStringLiteral("postgres"), QStringLiteral("-tAc"),
                                 QStringLiteral("SELECT 1 FROM pg_database WHERE datname = '%1'").arg(name)},
                 30000, &found))
        return false;
    return found.trimmed() == "1" || runTool(QStringLiteral("createdb"), where + QStringList{name});
}

QString PostgresCluster::url(const QString &database) const {
    return QStringLiteral("postgresql://%1@/%2?host=%3").arg(QLatin1String(superuser), database, folder_);
}
