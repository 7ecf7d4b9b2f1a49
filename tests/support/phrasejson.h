#pragma once

#include <QString>
#include <QStringList>

// Phrase content as the library stores it, written out for the send tests.
class PhraseJson {
public:
    PhraseJson() = delete;

    static QString text(const QString &value);
    // A picture by its file name in the picture folder.
    static QString picture(const QString &name);
    // The pieces in their order.
    static QString phrase(const QStringList &pieces);
};
