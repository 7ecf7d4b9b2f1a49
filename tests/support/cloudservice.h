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

    // Runs another sub-command on the same data folder (adduser, passwd, demo); stdin is written first.
    int run(const QStringList &args, const QByteArray &stdinData = {}, QByteArray *output = nullptr) const;
    // Creates an account with the password given.
    bool addUser(const QString &name, const QString &password) const;

    QString baseUrl() const { return baseUrl_; }
    quint16 port() const { return port_; }
    QString dataDir() const { return dataDir_; }
    static QString binary();
    // Another build of the service, such as an installed one; binary() unless set.
    void setProgram(const QString &path) { program_ = path; }

private:
    QStringList extraArgs_;
    QString program_ = binary();
    QTemporaryDir ownData_;
    QString dataDir_;
    QProcess process_;
    QString baseUrl_;
    quint16 port_ = 0;
};
