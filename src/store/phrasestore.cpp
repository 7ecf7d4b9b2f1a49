#include "store/phrasestore.h"

#include "store/localstore.h"
#include "store/storechanges.h"

#include <QSet>
#include <QSignalBlocker>

#define WORD_LIST_COLUMNS                                                                                    \
    "SELECT id, parentSign, sign, label, jsonValue, texts, images, position, username FROM word_list "

namespace {

const char *const insertSql = "INSERT INTO Word_list (parentSign, sign, label, jsonValue, texts, images, "
                              "position, username) VALUES (?, ?, ?, ?, ?, ?, ?, ?)";

} // namespace

PhraseStore::PhraseStore(LocalStore &store, QObject *parent)
    : QObject(parent), store_(store), index_(store) {}

bool PhraseStore::announce(bool ok) {
    if (ok)
        Q_EMIT changed();
    return ok;
}

bool PhraseStore::create(const QString &parentSign, const QString &sign, const QString &label,
                         const PhraseContent &content, qint64 position, const QString &username) {
    return announce(store_.insertOne(insertSql, sign, [&](SQLite::Statement &insert) {
        bindRow(insert, parentSign, sign, label, content.toJson(), content, position);
        LocalStore::bindText(insert, 8, username);
    }));
}

bool PhraseStore::remove(const QString &sign) {
    return announce(store_.changesLogged("删除完毕", "DELETE FROM word_list WHERE sign = (?)",
                                         [&](SQLite::Statement &s) { LocalStore::bindText(s, 1, sign); }));
}

bool PhraseStore::deleteAll(const QString &username) {
    return announce(
        store_.changesLogged("删除完毕", "DELETE FROM word_list WHERE username = (?)",
                             [&](SQLite::Statement &s) { LocalStore::bindText(s, 1, username); }));
}

bool PhraseStore::setValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                           const PhraseContent &newContent) {
    return announce(store_.changesLogged(
        "修改数据List",
        "UPDATE word_list SET parentSign = (?),label = (?),jsonValue = (?),texts = (?),images = "
        "(?) WHERE sign = (?)",
        [&](SQLite::Statement &s) {
            LocalStore::bindText(s, 1, newParentSign);
            LocalStore::bindText(s, 2, newLabel);
            LocalStore::bindText(s, 3, newContent.toJson());
            LocalStore::bindText(s, 4, newContent.joinedText().value_or(QString()));
            LocalStore::bindText(s, 5, newContent.imagesColumn());
            LocalStore::bindText(s, 6, sign);
        }));
}

bool PhraseStore::setPosition(const QString &sign, qint64 newPosition) {
    return announce(store_.changesLogged("修改数据class_upcount",
                                         "UPDATE word_list SET position = (?) WHERE sign = (?)",
                                         [&](SQLite::Statement &s) {
                                             s.bind(1, int64_t(newPosition));
                                             LocalStore::bindText(s, 2, sign);
                                         }));
}

QList<Phrase> PhraseStore::getAll(const QString &parentSign, const QString &username) {
    // id breaks ties between equal positions so the order is stable
    return query(WORD_LIST_COLUMNS "WHERE username = ? AND parentSign = ? ORDER BY position ASC, id ASC",
                 [&](SQLite::Statement &s) {
                     LocalStore::bindText(s, 1, username);
                     LocalStore::bindText(s, 2, parentSign);
                 });
}

QList<qint64> PhraseStore::getAllIds(const QString &parentSign, const QString &username) {
    return store_.rowsOf<qint64>(
        "SELECT id FROM word_list WHERE username = ? AND parentSign = ? ORDER BY position ASC, id ASC",
        [&](SQLite::Statement &s) {
            LocalStore::bindText(s, 1, username);
            LocalStore::bindText(s, 2, parentSign);
        },
        [](const SQLite::Statement &row) { return qint64(row.getColumn(0).getInt64()); });
}

QString PhraseStore::getAllCount(const QString &username) {
    return countOf("select count(id) from word_list where username = (?)",
                   [&](SQLite::Statement &s) { LocalStore::bindText(s, 1, username); });
}

QString PhraseStore::getCount(const QString &username, const QString &parentSign) {
    return countOf("select count(id) from word_list where username = (?) and parentSign = (?)",
                   [&](SQLite::Statement &s) {
                       LocalStore::bindText(s, 1, username);
                       LocalStore::bindText(s, 2, parentSign);
                   });
}

QStringList PhraseStore::allPictureNames(const QString &username) {
    QStringList names;
    QSet<QString> seen; // the same equality test as a search of names, without its quadratic cost
    SQLite::Database *db = store_.connection();
    if (!db)
        return names;
    try {
        SQLite::Statement select(*db, "SELECT images FROM word_list WHERE username = ?");
        LocalStore::bindText(select, 1, username);
        while (select.executeStep()) {
            const QString images = LocalStore::textAt(select, 0);
            for (const QStringView piece : QStringView(images).split(QLatin1Char('|'), Qt::SkipEmptyParts)) {
                // names of two characters or fewer are never real picture names
                if (piece.size() <= 2)
                    continue;
                const QString name = piece.toString();
                if (!seen.contains(name)) {
                    seen.insert(name);
                    names.append(name);
                }
            }
        }
    } catch (const std::exception &e) {
        LocalStore::logQueryFailure(e);
        names.clear();
    }
    return names;
}

std::optional<Phrase> PhraseStore::getData(const QString &sign) {
    const QList<Phrase> rows = query(WORD_LIST_COLUMNS "WHERE sign = ? LIMIT 1",
                                     [&](SQLite::Statement &s) { LocalStore::bindText(s, 1, sign); });
    if (rows.isEmpty())
        return std::nullopt;
    return rows.first();
}

QList<Phrase> PhraseStore::getLikeAll(const QString &keyText, const QString &username) {
    // "%" and "_" in the key stay wildcards: the pattern is not escaped
    return query(WORD_LIST_COLUMNS "WHERE username = ?2 AND (label LIKE ?1 OR texts LIKE ?1)",
                 [&](SQLite::Statement &s) {
                     LocalStore::bindText(s, 1, QLatin1Char('%') + keyText + QLatin1Char('%'));
                     LocalStore::bindText(s, 2, username);
                 });
}

std::optional<Phrase> PhraseStore::getById(qint64 id) {
    const QList<Phrase> rows =
        query(WORD_LIST_COLUMNS "WHERE id = (?)", [&](SQLite::Statement &s) { s.bind(1, int64_t(id)); });
    if (rows.isEmpty())
        return std::nullopt;
    return rows.first();
}

QList<qint64> PhraseStore::searchIds(const QString &keyText, const QString &username) {
    if (std::optional<QList<qint64>> ids = index_.search(keyText, username))
        return *ids;
    return store_.rowsOf<qint64>(
        "SELECT id FROM word_list WHERE username = ?2 AND (label LIKE ?1 OR texts LIKE ?1)",
        [&](SQLite::Statement &s) {
            LocalStore::bindText(s, 1, QLatin1Char('%') + keyText + QLatin1Char('%'));
            LocalStore::bindText(s, 2, username);
        },
        [](const SQLite::Statement &row) { return qint64(row.getColumn(0).getInt64()); });
}

qint64 PhraseStore::getMaxPosition(const QString &parentSign) {
    return store_.nextPosition("SELECT max(position) FROM word_list WHERE parentSign = (?)", parentSign);
}

bool PhraseStore::replaceAll(const QString &username, const QList<Phrase> &rows) {
    return announce(store_.replaceAllOf(
        "word_list", username, insertSql, 8, rows.size(), [&](SQLite::Statement &insert, qsizetype i) {
            const Phrase &row = rows[i];
            bindRow(insert, row.parentSign, row.sign, row.label, row.jsonValue, row.content, row.position);
        }));
}

void PhraseStore::bindRow(SQLite::Statement &insert, const QString &parentSign, const QString &sign,
                          const QString &label, const QString &jsonValue, const PhraseContent &content,
                          qint64 position) {
    LocalStore::bindText(insert, 1, parentSign);
    LocalStore::bindText(insert, 2, sign);
    LocalStore::bindText(insert, 3, label);
    LocalStore::bindText(insert, 4, jsonValue);
    LocalStore::bindText(insert, 5, content.joinedText().value_or(QString()));
    LocalStore::bindText(insert, 6, content.imagesColumn());
    insert.bind(7, int64_t(position));
}

Phrase PhraseStore::fromRow(const SQLite::Statement &row) {
    Phrase d;
    d.id = row.getColumn(0).getInt64();
    d.parentSign = LocalStore::textAt(row, 1);
    d.sign = LocalStore::textAt(row, 2);
    d.label = LocalStore::textAt(row, 3);
    d.setJsonValue(LocalStore::textAt(row, 4));
    d.texts = LocalStore::textAt(row, 5);
    d.images = LocalStore::textAt(row, 6);
    d.position = row.getColumn(7).getInt64();
    d.username = LocalStore::textAt(row, 8);
    return d;
}

QList<Phrase> PhraseStore::query(const char *sql, const std::function<void(SQLite::Statement &)> &bind) {
    return store_.rowsOf<Phrase>(sql, bind, &fromRow);
}

QString PhraseStore::countOf(const char *sql, const std::function<void(SQLite::Statement &)> &bind) {
    SQLite::Database *db = store_.connection();
    if (!db)
        return QStringLiteral("---");
    try {
        SQLite::Statement count(*db, sql);
        bind(count);
        if (!count.executeStep())
            return QStringLiteral("---");
        return QString::number(count.getColumn(0).getInt64());
    } catch (const std::exception &e) {
        LocalStore::logQueryFailure(e);
        return QStringLiteral("---");
    }
}

bool PhraseStore::swapPositions(const QString &sign1, const QString &sign2) {
    return StoreChanges::swapPositions(*this, sign1, sign2);
}

void PhraseStore::removeSigns(const QString &signOrAll) {
    StoreChanges::removeSigns(*this, signOrAll);
}
