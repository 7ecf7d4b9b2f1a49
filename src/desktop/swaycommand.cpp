#include "desktop/swaycommand.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QTimer>
#include <cstring>

namespace {

constexpr char magic[] = "i3-ipc";
constexpr qsizetype magicSize = sizeof(magic) - 1;
constexpr qsizetype headerSize = magicSize + 2 * sizeof(quint32);
constexpr quint32 runCommand = 0;
constexpr int replyTimeoutMs = 2000;

QByteArray message(const QByteArray &payload) {
    QByteArray bytes(magic, magicSize);
    const quint32 fields[] = {quint32(payload.size()), runCommand};
    bytes.append(reinterpret_cast<const char *>(fields), sizeof(fields));
    return bytes + payload;
}

// Empty when every command of the reply succeeded.
QString verdict(const QByteArray &payload) {
    const QJsonDocument reply = QJsonDocument::fromJson(payload);
    if (!reply.isArray())
        return QStringLiteral("sway gave no readable reply");
    for (const QJsonValue &result : reply.array()) {
        if (!result.toObject().value(QStringLiteral("success")).toBool())
            return result.toObject().value(QStringLiteral("error")).toString(QStringLiteral("sway refused"));
    }
    return {};
}

} // namespace

bool SwayCommand::available() {
    return !qEnvironmentVariableIsEmpty("SWAYSOCK") && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

void SwayCommand::run(const QString &command, std::function<void(const QString &error)> done) {
    auto *socket = new QLocalSocket;
    auto finished = std::make_shared<bool>(false);
    auto finish = [socket, finished, done](const QString &error) {
        if (*finished)
            return;
        *finished = true;
        socket->disconnect();
        socket->abort();
        socket->deleteLater();
        if (done)
            done(error);
    };
    QObject::connect(socket, &QLocalSocket::connected, socket,
                     [socket, command] { socket->write(message(command.toUtf8())); });
    QObject::connect(socket, &QLocalSocket::readyRead, socket, [socket, finish] {
        if (socket->bytesAvailable() < headerSize)
            return;
        const QByteArray header = socket->peek(headerSize);
        quint32 length = 0;
        std::memcpy(&length, header.constData() + magicSize, sizeof(length));
        if (!header.startsWith(magic)) {
            finish(QStringLiteral("sway gave no readable reply"));
            return;
        }
        if (socket->bytesAvailable() < headerSize + qint64(length))
            return;
        socket->read(headerSize);
        finish(verdict(socket->read(length)));
    });
    QObject::connect(socket, &QLocalSocket::errorOccurred, socket,
                     [socket, finish] { finish(socket->errorString()); });
    QTimer::singleShot(replyTimeoutMs, socket, [finish] { finish(QStringLiteral("sway did not answer")); });
    socket->connectToServer(qEnvironmentVariable("SWAYSOCK"));
}
