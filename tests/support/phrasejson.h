#pragma once

#include <QString>
#include <QStringList>

// Phrase content as the library stores it (jsonValue), written by hand in the send tests.
class PhraseJson {
public:
    PhraseJson() = delete;

    static QString text(const QString &value);
    static QString picture(const QString &fileName);
    // The pieces in order.
    static QString phrase(const QStringList &pieces);
};
