#pragma once

#include <QString>
#include <QtGlobal>

// One class (category) of phrases. A plain value.
struct PhraseClass {
    qint64 id = 0;
    QString sign;
    QString label;
    qint64 position = 0;
    QString username;

    PhraseClass() = default;
    PhraseClass(qint64 id, QString sign = {}, QString label = {}, qint64 position = 0, QString username = {})
        : id(id), sign(std::move(sign)), label(std::move(label)), position(position),
          username(std::move(username)) {}

    bool operator==(const PhraseClass &) const = default;
};
