#pragma once

#include <QString>
#include <QStringList>

// A throw-away PostgreSQL server for one test program: a folder of its own under /tmp, listening only
// on a Unix socket inside it. The server refuses to run as root, so when the tests do it runs as
// "nobody". The destructor stops it and removes the folder, whatever the tests did meanwhile.
class PostgresCluster {
public:
    PostgresCluster() = default;
    ~PostgresCluster();
    PostgresCluster(const PostgresCluster &) = delete;
    PostgresCluster &operator=(const PostgresCluster &) = delete;

    // Creates the cluster on first use, then starts it; false with error() when either fails.
    bool start();
    // immediate: the server dies as in a crash, with no shutdown checkpoint.
    bool stop(bool immediate = false);
    bool createDatabase(const QString &name);
    // libpq address of a database of this cluster.
    QString url(const QString &database = QStringLiteral("postgres")) const;
    QString error() const { return error_; }

    // The folder of initdb and pg_ctl: $QUILLORA_PG_BINDIR, else the newest /usr/lib/postgresql/*/bin.
    static QString binDir();

private:
    bool runTool(const QString &tool, const QStringList &args, int timeoutMs = 60000,
                 QByteArray *output = nullptr);

    QString folder_;
    bool running_ = false;
    QString error_;
};
