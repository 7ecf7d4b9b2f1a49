#include "app/instancechannel.h"

#include "model/logging.h"

#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QRegularExpression>
#include <QStandardPaths>

namespace {

constexpr int connectMs = 2000;
constexpr int answerMs = 10000;
constexpr int lockMs = 5000;

} // namespace

InstanceChannel::InstanceChannel(QObject *parent) : QObject(parent) {}

InstanceChannel::~InstanceChannel() {
    if (server_)
        server_->close(); // removes the socket file
}

QString InstanceChannel::socketPath() {
    QString display = qEnvironmentVariable("DISPLAY");
    if (display.isEmpty())
        display = qEnvironmentVariable("WAYLAND_DISPLAY");
    display.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9._-]")), QStringLiteral("_"));
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return QDir(folder).filePath(QStringLiteral("quillora-%1.socket").arg(display));
}

std::optional<QByteArray> InstanceChannel::handOver(const QByteArray &request) {
    if (!lock_) {
        lock_ = std::make_unique<QLockFile>(socketPath() + QStringLiteral(".lock"));
        // A lock whose process is gone is taken over; a live one is released within moments.
        lock_->tryLock(lockMs);
    }
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(connectMs))
        return std::nullopt;
    lock_.reset();
    socket.write(request + '\n');
    socket.flush();
    QByteArray answer;
    while (!answer.contains('\n') && socket.waitForReadyRead(answerMs))
        answer += socket.readAll();
    if (!answer.contains('\n'))
        answer += socket.readAll();
    return answer.trimmed();
}

bool InstanceChannel::listen() {
    const QString path = socketPath();
    server_ = new QLocalServer(this);
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    // handOver found nobody behind an existing file: it was left by a program that crashed.
    if (QFileInfo::exists(path))
        QLocalServer::removeServer(path);
    const bool ok = server_->listen(path);
    if (!ok)
        qCWarning(lcApp, "instance channel: cannot listen on %s: %s", qUtf8Printable(path),
                  qUtf8Printable(server_->errorString()));
    else
        connect(server_, &QLocalServer::newConnection, this, &InstanceChannel::serve);
    lock_.reset();
    return ok;
}

void InstanceChannel::serve() {
    while (QLocalSocket *socket = server_->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine())
                return;
            const QByteArray request = socket->readLine().trimmed();
            // Answered before acting, so the asking start never waits for a dialog or for quitting.
            socket->write(answerOk + '\n');
            socket->flush();
            Q_EMIT requested(request);
        });
    }
}
