#include "scriptedresponder.h"

#include <QTcpSocket>
#include <QUrl>

bool ScriptedResponder::Request::hasHeader(const QByteArray &name) const {
    for (const auto &h : headers)
        if (h.first.compare(name, Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

QByteArray ScriptedResponder::Request::header(const QByteArray &name) const {
    for (const auto &h : headers)
        if (h.first.compare(name, Qt::CaseInsensitive) == 0)
            return h.second;
    return {};
}

QMap<QString, QString> ScriptedResponder::Request::form() const {
    QMap<QString, QString> out;
    const QList<QByteArray> pairs = body.split('&');
    for (QByteArray pair : pairs) {
        if (pair.isEmpty())
            continue;
        pair.replace('+', ' ');
        const qsizetype eq = pair.indexOf('=');
        const QByteArray key = eq < 0 ? pair : pair.left(eq);
        const QByteArray value = eq < 0 ? QByteArray() : pair.mid(eq + 1);
        out.insert(QUrl::fromPercentEncoding(key), QUrl::fromPercentEncoding(value));
    }
    return out;
}

ScriptedResponder::ScriptedResponder(QObject *parent) : QObject(parent) {
    connect(&server_, &QTcpServer::newConnection, this, &ScriptedResponder::onConnection);
}

bool ScriptedResponder::listen() {
    return server_.listen(QHostAddress::LocalHost, 0);
}

QString ScriptedResponder::baseUrl() const {
    return QStringLiteral("http://127.0.0.1:%1").arg(server_.serverPort());
}

void ScriptedResponder::on(const QByteArray &path, Reply reply) {
    replies_.insert(path, std::move(reply));
}

ScriptedResponder::Reply ScriptedResponder::json(const QByteArray &body,
                                                 QList<QPair<QByteArray, QByteArray>> headers) {
    headers.prepend({"Content-Type", "application/json"});
    return Reply{200, body, std::move(headers), false};
}

QList<ScriptedResponder::Request> ScriptedResponder::requestsTo(const QByteArray &path) const {
    QList<Request> out;
    for (const Request &r : requests_)
        if (r.path == path)
            out.append(r);
    return out;
}

void ScriptedResponder::onConnection() {
    while (QTcpSocket *socket = server_.nextPendingConnection()) {
        socket->setParent(this);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket]() { onReadable(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket]() {
            buffers_.remove(socket);
            socket->deleteLater();
        });
    }
}

void ScriptedResponder::onReadable(QTcpSocket *socket) {
    QByteArray &buffer = buffers_[socket];
    buffer += socket->readAll();
    for (;;) {
        const qsizetype end = buffer.indexOf("\r\n\r\n");
        if (end < 0)
            return;
        Request request;
        const QList<QByteArray> lines = buffer.left(end).split('\n');
        const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
        request.method = first.value(0);
        request.path = first.value(1);
        qsizetype length = 0;
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const QByteArray line = lines.at(i).trimmed();
            const qsizetype colon = line.indexOf(':');
            if (colon <= 0)
                continue;
            const QByteArray name = line.left(colon).trimmed();
            const QByteArray value = line.mid(colon + 1).trimmed();
            request.headers.append({name, value});
            if (name.compare("Content-Length", Qt::CaseInsensitive) == 0)
                length = value.toLongLong();
        }
        if (buffer.size() < end + 4 + length)
            return;
        request.body = buffer.mid(end + 4, length);
        buffer.remove(0, end + 4 + length);
        requests_.append(request);

        const auto it = replies_.constFind(request.path);
        const Reply reply = it != replies_.cend() ? *it : Reply{404, {}, {}, false};
        if (reply.never)
            continue;
        QByteArray out = "HTTP/1.1 " + QByteArray::number(reply.status) + " Scripted\r\n";
        for (const auto &h : reply.headers)
            out += h.first + ": " + h.second + "\r\n";
        out += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\n";
        out += "Connection: close\r\n\r\n";
        out += reply.body;
        socket->write(out);
        socket->disconnectFromHost();
        return;
    }
}
