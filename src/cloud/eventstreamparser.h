#pragma once

#include <QByteArray>
#include <QList>

// Reads a text/event-stream as it arrives, in pieces cut anywhere: lines end in LF, CRLF or CR, a
// blank line ends an event, "event:" names it, "data:" lines are joined with LF, comment lines
// (":") and unknown fields are skipped.
class EventStreamParser {
public:
    struct Event {
        QByteArray name; // "message" when the event named none
        QByteArray data;
        bool operator==(const Event &) const = default;
    };

    // The events the bytes complete; what is left waits for the next piece.
    QList<Event> feed(const QByteArray &bytes);
    // Drops a half-read event (a new connection starts afresh).
    void reset();

    // A line longer than this ends the stream's trust: the parser starts over from the next line.
    static constexpr qsizetype maxLine = 1 << 20;

private:
    void takeLine(const QByteArray &line, QList<Event> &events);

    QByteArray pending_;
    bool skipLf_ = false; // the last piece ended in CR: an LF first in the next one belongs to it
    bool overlong_ = false;
    QByteArray name_;
    QByteArray data_;
    bool hasData_ = false;
};
