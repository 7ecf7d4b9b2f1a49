#pragma once

#include "model/phrase.h"
#include "store/phrasesearchindex.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

class LocalStore;
namespace SQLite {
class Statement;
}

// The phrase table of the session's database. Every change made through it emits changed().
class PhraseStore : public QObject {
    Q_OBJECT
public:
    explicit PhraseStore(LocalStore &store, QObject *parent = nullptr);

    // The content is stored as its canonical JSON text.
    bool create(const QString &parentSign, const QString &sign, const QString &label,
                const PhraseContent &content, qint64 position, const QString &username);
    // `delete` is a keyword; remove is the nearest legal name.
    bool remove(const QString &sign);
    bool deleteAll(const QString &username);
    bool setValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                  const PhraseContent &newContent);
    bool setPosition(const QString &sign, qint64 newPosition);
    // Exchanges the positions of two phrases; nothing changes unless both exist.
    bool swapPositions(const QString &sign1, const QString &sign2);
    // Deletes one sign or each of "a|b|".
    void removeSigns(const QString &signOrAll);
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

    // Deletes every phrase of the user and inserts these under that user (jsonValue as it came,
    // texts and images derived from content), in one transaction: all or nothing. Ids are assigned anew.
    bool replaceAll(const QString &username, const QList<Phrase> &rows);

    PhraseSearchIndex &searchIndex() { return index_; }

Q_SIGNALS:
    // Rows were written or removed through this store.
    void changed();

private:
    static Phrase fromRow(const SQLite::Statement &row);
    // Columns 1-7 of the insert statement.
    static void bindRow(SQLite::Statement &insert, const QString &parentSign, const QString &sign,
                        const QString &label, const QString &jsonValue, const PhraseContent &content,
                        qint64 position);
    QList<Phrase> query(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
    QString countOf(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
    // Emits changed() when ok; returns ok.
    bool announce(bool ok);

    LocalStore &store_;
    PhraseSearchIndex index_;
};
