#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// A real quillora-cloud on an ephemeral loopback port with a data folder of its own.
class CloudService {
public:
    explicit CloudService(QStringList extraArgs = {});
    ~CloudService();

    // Starts `quillora-cloud serve --port 0 --data <dir>` and waits for its "listening on" line.
    bool start(const QString &dataDir = {});
    void stop();
    // Stops it and starts it again on the same port and data, as after a service restart.
    bool restart();

    // Runs another sub-command on the same data folder (adduser, passwd, demo); stdin is written first.
    int run(const QStringList &args, const QByteArray &stdinData = {}, QByteArray *output = nullptr) const;
    // Creates an account with the password given.
    bool addUser(const QString &name, const QString &password) const;

    // A postgresql:// address: this instance and its sub-commands keep their data there instead.
    void setDatabase(const QString &url) { database_ = url; }
    // The PostgreSQL address it keeps its data at; empty on SQLite.
    const QString &database() const { return database_; }

    QString baseUrl() const { return baseUrl_; }
    quint16 port() const { return port_; }
    QString dataDir() const { return dataDir_; }
    static QString binary();
    // The test program runs against PostgreSQL (QUILLORA_TEST_BACKEND=postgresql).
    static bool usesPostgres();

private:
    QStringList storageArgs() const;

    QStringList extraArgs_;
    QString database_;
    QTemporaryDir ownData_;
    QString dataDir_;
    QProcess process_;
    QString baseUrl_;
    quint16 port_ = 0;
    quint16 fixedPort_ = 0;
};
