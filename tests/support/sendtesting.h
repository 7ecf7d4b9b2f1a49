#pragma once

#include <QByteArray>
#include <QColor>
#include <QSize>
#include <QString>
#include <QStringList>

// What the send tests do again and again: a picture for phrases, a send waited out, what a paste
// target logged, where sends go now.
class SendTesting {
public:
    SendTesting() = delete;

    // The lines a paste target (tests/support/pastetarget) logged so far; none before it starts.
    static QStringList logLines(const QString &path);
    // The app id of the window sends go to now; empty when there is none.
    static QString targetAppId();
    // Writes a PNG of that size and colour into the picture folder; returns its bytes, empty when
    // it could not be written.
    static QByteArray writePicture(const QString &name = QStringLiteral("pic.png"), QSize size = {7, 5},
                                   QColor color = Qt::darkCyan);
    // Sends and waits until the send is over and the strokes it posted to this thread are typed;
    // false when that took more than 20 s.
    static bool sendAndSettle(const QString &json, bool isEnter);
    static bool settle();
};
