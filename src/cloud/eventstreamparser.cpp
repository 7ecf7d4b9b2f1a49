#include "cloud/eventstreamparser.h"

QList<EventStreamParser::Event> EventStreamParser::feed(const QByteArray &bytes) {
    QList<Event> events;
    qsizetype start = 0;
    if (skipLf_ && !bytes.isEmpty() && bytes.front() == '\n')
        start = 1;
    skipLf_ = false;
    for (qsizetype i = start; i < bytes.size(); ++i) {
        const char c = bytes[i];
        if (c != '\n' && c != '\r')
            continue;
        pending_.append(bytes.constData() + start, i - start);
        if (!overlong_)
            takeLine(pending_, events);
        overlong_ = false;
        pending_.clear();
        if (c == '\r') {
            if (i + 1 < bytes.size() && bytes[i + 1] == '\n')
                ++i;
            else if (i + 1 == bytes.size())
                skipLf_ = true;
        }
        start = i + 1;
    }
    pending_.append(bytes.constData() + start, bytes.size() - start);
    if (pending_.size() > maxLine) {
        overlong_ = true;
        pending_.clear();
    }
    return events;
}

void EventStreamParser::reset() {
    pending_.clear();
    skipLf_ = false;
    overlong_ = false;
    name_.clear();
    data_.clear();
    hasData_ = false;
}

void EventStreamParser::takeLine(const QByteArray &line, QList<Event> &events) {
    if (line.isEmpty()) {
        if (hasData_ || !name_.isEmpty())
            events.append(Event{name_.isEmpty() ? QByteArrayLiteral("message") : name_, data_});
        name_.clear();
        data_.clear();
        hasData_ = false;
        return;
    }
    if (line.front() == ':')
        return;
    const qsizetype colon = line.indexOf(':');
    const QByteArray field = colon < 0 ? line : line.left(colon);
    QByteArray value = colon < 0 ? QByteArray() : line.mid(colon + 1);
    if (value.startsWith(' '))
        value.remove(0, 1);
    if (field == "event") {
        name_ = value;
    } else if (field == "data") {
        if (hasData_)
            data_.append('\n');
        data_.append(value);
        hasData_ = true;
    }
}
