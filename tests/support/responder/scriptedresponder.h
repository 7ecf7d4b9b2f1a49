#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPair>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

// An HTTP/1.1 server on an ephemeral loopback port that answers each path with a scripted reply and
// records every request. Lives on the thread that made it; its event loop must run.
class ScriptedResponder : public QObject {
    Q_OBJECT
public:
    struct Reply {
        int status = 200;
        QByteArray body;
        QList<QPair<QByteArray, QByteArray>> headers;
        bool never = false; // accept the request and never answer
    };

    struct Request {
        QByteArray method;
        QByteArray path;
        QList<QPair<QByteArray, QByteArray>> headers;
        QByteArray body;

        bool hasHeader(const QByteArray &name) const;
        QByteArray header(const QByteArray &name) const;
        // The body decoded as application/x-www-form-urlencoded ("+" is a blank, as servers read it).
        QMap<QString, QString> form() const;
    };

    explicit ScriptedResponder(QObject *parent = nullptr);

    bool listen();
    QString baseUrl() const;

    // Every request to path gets this reply; an unscripted path gets 404 with an empty body.
    void on(const QByteArray &path, Reply reply);
    static Reply json(const QByteArray &body, QList<QPair<QByteArray, QByteArray>> headers = {});

    const QList<Request> &requests() const { return requests_; }
    // Requests to this path, in arrival order.
    QList<Request> requestsTo(const QByteArray &path) const;
    void clear() { requests_.clear(); }

private:
    void onConnection();
    void onReadable(QTcpSocket *socket);

    QTcpServer server_;
    QHash<QByteArray, Reply> replies_;
    QHash<QTcpSocket *, QByteArray> buffers_;
    QList<Request> requests_;
};
