#pragma once

#include "model/phraseclass.h"
#include "store/classchangelistener.h"
#include "store/localstore.h"

#include <QList>
#include <QString>
#include <optional>

class ClassStore : public LocalStore {
public:
    // The one store object the application shares; lists and the synchronisation write through it.
    static ClassStore &shared();
    // Told after every change the application makes to the table. A view that sets itself here
    // must clear the slot before it goes away.
    static inline ClassChangeListener *listener = nullptr;
    static void notifyChanged();

    bool create(const QString &sign, const QString &label, qint64 position, const QString &username);
    // `delete` is a keyword; remove is the nearest legal name.
    bool remove(const QString &sign);
    bool deleteAll();
    bool deleteAll(const QString &username);
    bool setLabel(const QString &sign, const QString &newLabel);
    bool setPosition(const QString &sign, qint64 newPosition);
    QList<PhraseClass> getAll(const QString &username);
    qint64 getMaxPosition(const QString &username);
    std::optional<PhraseClass> getData(const QString &sign);
    QList<PhraseClass> getLikeAll(const QString &keyText, const QString &username);

    // Deletes every class of the user and inserts these under that user, in one transaction: all or
    // nothing. Ids are assigned anew.
    bool replaceAll(const QString &username, const QList<PhraseClass> &rows);

private:
    static PhraseClass fromRow(const SQLite::Statement &row);
    static QList<PhraseClass> query(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
};
