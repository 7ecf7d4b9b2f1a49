#pragma once

#include "model/phrasecontent.h"

#include <QJsonObject>
#include <QString>
#include <QtGlobal>
#include <optional>

// One phrase. A plain value; keycode and bgColor travel with server records but are not stored locally.
// jsonValue is the content as stored and transmitted, byte for byte; content is the same parsed,
// once, where the phrase enters the program (a store row or a service reply).
struct Phrase {
    qint64 id = 0;
    QString parentSign;
    QString sign;
    QString label;
    QString jsonValue;
    PhraseContent content;
    QString texts;
    QString images;
    qint64 position = 0;
    QString username;
    std::optional<QString> keycode;
    std::optional<QString> bgColor;

    Phrase() = default;
    Phrase(qint64 id, QString parentSign, QString sign, QString label, QString jsonValue, QString texts,
           QString images, qint64 position, QString username, std::optional<QString> keycode,
           std::optional<QString> bgColor);

    // The stored text and its parsed content, together.
    void setJsonValue(QString json);

    // Fills every field from the member of the same name; a missing member keeps the default.
    static Phrase fromJson(const QJsonObject &object);

    bool operator==(const Phrase &) const = default;
};
