#pragma once

#include <QList>
#include <QString>
#include <optional>

// Every phrase's searchable text (label and texts, ASCII letters folded the way LIKE folds them) in
// table order, kept in memory so that a keystroke scans bytes instead of the database. An update
// hook on the connection notes every row written, whoever writes it; the next search reads just
// those rows again (or the whole table after a rollback or a bulk replace).
class PhraseSearchIndex {
public:
    PhraseSearchIndex() = delete;

    // Ids of the user's phrases whose label or texts contain key, in table order. Absent when the
    // key holds a LIKE wildcard ("%" or "_"), which only the database matches faithfully, or when
    // there is no database.
    static std::optional<QList<qint64>> search(const QString &key, const QString &username);

    // Reads the table into the copy now rather than on the first keystroke, so that a search adds
    // nothing to the memory a loaded library takes. False without a database.
    static bool prepare();

    // Drops the copy (its memory goes back at once); the next search reads the table again.
    static void clear();
};
