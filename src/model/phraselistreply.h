#pragma once

#include "model/phrase.h"

#include <QList>
#include <QString>
#include <optional>

// The reply of the text-based phrase fetch, mapped by member name.
class PhraseListReply {
public:
    int state = -1; // a reply without "state" must not look like any state the service sends
    QString msg;
    QList<Phrase> data;

    // Absent when the text is not a JSON object.
    static std::optional<PhraseListReply> fromText(const QByteArray &text);
};
