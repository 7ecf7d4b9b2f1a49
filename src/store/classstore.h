#pragma once

#include "model/phraseclass.h"

#include <QList>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>

class LocalStore;
namespace SQLite {
class Statement;
}

// The class table of the session's database. Every change made through it emits changed().
class ClassStore : public QObject {
    Q_OBJECT
public:
    explicit ClassStore(LocalStore &store, QObject *parent = nullptr);

    bool create(const QString &sign, const QString &label, qint64 position, const QString &username);
    // `delete` is a keyword; remove is the nearest legal name.
    bool remove(const QString &sign);
    bool deleteAll();
    bool deleteAll(const QString &username);
    bool setLabel(const QString &sign, const QString &newLabel);
    bool setPosition(const QString &sign, qint64 newPosition);
    // Exchanges the positions of two classes; nothing changes unless both exist.
    bool swapPositions(const QString &sign1, const QString &sign2);
    // Deletes one sign or each of "a|b|".
    void removeSigns(const QString &signOrAll);
    QList<PhraseClass> getAll(const QString &username);
    qint64 getMaxPosition(const QString &username);
    std::optional<PhraseClass> getData(const QString &sign);
    QList<PhraseClass> getLikeAll(const QString &keyText, const QString &username);

    // Deletes every class of the user and inserts these under that user, in one transaction: all or
    // nothing. Ids are assigned anew.
    bool replaceAll(const QString &username, const QList<PhraseClass> &rows);

Q_SIGNALS:
    // Rows were written or removed through this store.
    void changed();

private:
    static PhraseClass fromRow(const SQLite::Statement &row);
    QList<PhraseClass> query(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
    bool announce(bool ok);

    LocalStore &store_;
};
