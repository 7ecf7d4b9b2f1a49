#pragma once

#include "model/phrase.h"
#include "store/localstore.h"
#include "store/phrasechangelistener.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

class PhraseStore : public LocalStore {
public:
    // The one store object the application shares; lists and the synchronisation write through it.
    static PhraseStore &shared();
    // Told after every change the application makes to the table. A view that sets itself here
    // must clear the slot before it goes away.
    static inline PhraseChangeListener *listener = nullptr;
    static void notifyChanged();

    bool create(const QString &parentSign, const QString &sign, const QString &label,
                const QString &jsonValue, qint64 position, const QString &username);
    // `delete` is a keyword; remove is the nearest legal name.
    bool remove(const QString &sign);
    bool deleteAll(const QString &username);
    bool setValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                  const QString &newJsonValue);
    bool setPosition(const QString &sign, qint64 newPosition);
    QList<Phrase> getAll(const QString &parentSign, const QString &username);
    // The ids of getAll's rows, in the same order.
    QList<qint64> getAllIds(const QString &parentSign, const QString &username);
    QString getAllCount(const QString &username);
    QString getCount(const QString &username, const QString &parentSign);
    QStringList allPictureNames(const QString &username);
    std::optional<Phrase> getData(const QString &sign);
    std::optional<Phrase> getById(qint64 id);
    QList<Phrase> getLikeAll(const QString &keyText, const QString &username);
    // The ids of getLikeAll's rows, in the same order, from the in-memory index where it can answer.
    QList<qint64> searchIds(const QString &keyText, const QString &username);
    qint64 getMaxPosition(const QString &parentSign);

    // Deletes every phrase of the user and inserts these under that user (texts and images derived
    // from jsonValue), in one transaction: all or nothing. Ids are assigned anew.
    bool replaceAll(const QString &username, const QList<Phrase> &rows);

private:
    static Phrase fromRow(const SQLite::Statement &row);
    // Columns 1-7 of the insert statement.
    static void bindRow(SQLite::Statement &insert, const QString &parentSign, const QString &sign,
                        const QString &label, const QString &jsonValue, qint64 position);
    static QList<Phrase> query(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
    static QString countOf(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
};
