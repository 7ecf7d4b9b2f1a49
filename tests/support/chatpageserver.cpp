#include "chatpageserver.h"

#include <QFile>
#include <QTcpSocket>
#include <algorithm>
#include <time.h>

namespace {

qint64 nowUs() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return qint64(t.tv_sec) * 1000000 + t.tv_nsec / 1000;
}

} // namespace

bool ChatPageServer::start() {
    QFile file(QStringLiteral(CHAT_PAGE));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    page_ = file.readAll();
    QObject::connect(&server_, &QTcpServer::newConnection, [this] {
        while (QTcpSocket *socket = server_.nextPendingConnection()) {
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { answer(socket); });
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
    return server_.listen(QHostAddress::LocalHost);
}

QString ChatPageServer::url(int handlerMs, const QString &mode) const {
    return QStringLiteral("http://127.0.0.1:%1/?h=%2&m=%3")
        .arg(server_.serverPort())
        .arg(handlerMs)
        .arg(mode);
}

bool ChatPageServer::ready() const {
    return std::any_of(posts_.begin(), posts_.end(), [](const Post &p) { return p.path == "/ready"; });
}

QStringList ChatPageServer::sent() const {
    QStringList out;
    for (const Post &p : posts_)
        if (p.path == "/sent")
            out << p.body;
    return out;
}

QList<qint64> ChatPageServer::sentAtUs() const {
    QList<qint64> out;
    for (const Post &p : posts_)
        if (p.path == "/sent")
            out << p.atUs;
    return out;
}

QList<ChatPageServer::Change> ChatPageServer::changes() const {
    QList<Change> out;
    for (const Post &p : posts_)
        if (p.path == "/changes")
            for (const QString &line : p.body.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
                out.append(
                    {line.section(QLatin1Char('\t'), 1), line.section(QLatin1Char('\t'), 0, 0).toDouble()});
    return out;
}

void ChatPageServer::answer(QTcpSocket *socket) {
    const QByteArray request = socket->property("request").toByteArray() + socket->readAll();
    socket->setProperty("request", request);
    const qsizetype headerEnd = request.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return;
    const QList<QByteArray> head = request.left(headerEnd).split('\n');
    qsizetype length = 0;
    for (const QByteArray &line : head)
        if (line.toLower().startsWith("content-length:"))
            length = line.mid(15).trimmed().toLongLong();
    if (request.size() < headerEnd + 4 + length)
        return; // the body is still on its way
    const QList<QByteArray> first = head.value(0).split(' ');
    QByteArray body = "ok", type = "text/plain";
    if (first.value(0) == "POST") {
        posts_.append({first.value(1), QString::fromUtf8(request.mid(headerEnd + 4, length)), nowUs()});
    } else {
        body = page_;
        type = "text/html; charset=utf-8";
    }
    socket->write("HTTP/1.1 200 OK\r\nContent-Type: " + type + "\r\nContent-Length: " +
                  QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
    socket->disconnectFromHost();
}
