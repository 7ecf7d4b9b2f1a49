#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QTcpServer>

class QTcpSocket;

// A loopback HTTP server for a chat-like page in a real browser: it serves the page (chat.html:
// a box whose paste handler takes ?h= milliseconds and then does ?m= with a picture, and Enter posts
// the box's content) and
// records what the page posts: "/ready" once loaded, "/sent" at each Enter.
class ChatPageServer {
public:
    bool start();
    // The page's address with a paste handler of handlerMs that then takes a pasted picture itself
    // ("take") or lets the browser insert it ("insert").
    QString url(int handlerMs, const QString &mode = QStringLiteral("insert")) const;
    bool ready() const;
    // The box's content at each Enter so far, pictures as "[img]".
    QStringList sent() const;
    // Monotonic microseconds of each "/sent", as the bench reads them.
    QList<qint64> sentAtUs() const;
    // Each change of the box reported so far (at each Enter): its content and the page's
    // wall-clock milliseconds.
    struct Change {
        QString content;
        double atWallMs = 0;
    };
    QList<Change> changes() const;

private:
    void answer(QTcpSocket *socket);

    QTcpServer server_;
    QByteArray page_;
    struct Post {
        QByteArray path;
        QString body;
        qint64 atUs = 0;
    };
    QList<Post> posts_;
};
