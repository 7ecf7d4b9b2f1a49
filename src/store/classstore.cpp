#include "store/classstore.h"

#include "store/localstore.h"
#include "store/storechanges.h"

#include <QSignalBlocker>

#define WORD_CLASS_COLUMNS "SELECT id, sign, label, position, username FROM word_class "

namespace {

const char *const insertSql = "INSERT INTO word_class (sign, label, position, username) VALUES (?, ?, ?, ?)";

void bindText(SQLite::Statement &statement, int index, const QString &value) {
    LocalStore::bindText(statement, index, value);
}

} // namespace

ClassStore::ClassStore(LocalStore &store, QObject *parent) : QObject(parent), store_(store) {}

bool ClassStore::announce(bool ok) {
    if (ok)
        Q_EMIT changed();
    return ok;
}

bool ClassStore::create(const QString &sign, const QString &label, qint64 position, const QString &username) {
    return announce(store_.insertOne(insertSql, sign, [&](SQLite::Statement &insert) {
        bindText(insert, 1, sign);
        bindText(insert, 2, label);
        insert.bind(3, int64_t(position));
        bindText(insert, 4, username);
    }));
}

bool ClassStore::remove(const QString &sign) {
    return announce(store_.changesLogged("删除完毕", "DELETE FROM word_class WHERE sign = (?)",
                                         [&](SQLite::Statement &s) { bindText(s, 1, sign); }));
}

bool ClassStore::deleteAll() {
    return announce(store_.changesLogged("删除完毕", "DELETE FROM word_class", [](SQLite::Statement &) {}));
}

bool ClassStore::deleteAll(const QString &username) {
    return announce(store_.changesLogged("删除完毕", "DELETE FROM word_class WHERE username = (?)",
                                         [&](SQLite::Statement &s) { bindText(s, 1, username); }));
}

bool ClassStore::setLabel(const QString &sign, const QString &newLabel) {
    return announce(store_.changesLogged("修改数据class_update",
                                         "UPDATE word_class SET label = (?) WHERE sign = (?)",
                                         [&](SQLite::Statement &s) {
                                             bindText(s, 1, newLabel);
                                             bindText(s, 2, sign);
                                         }));
}

bool ClassStore::setPosition(const QString &sign, qint64 newPosition) {
    return announce(store_.changesLogged("修改数据class_upcount",
                                         "UPDATE word_class SET position = (?) WHERE sign = (?)",
                                         [&](SQLite::Statement &s) {
                                             s.bind(1, int64_t(newPosition));
                                             bindText(s, 2, sign);
                                         }));
}

bool ClassStore::swapPositions(const QString &sign1, const QString &sign2) {
    return StoreChanges::swapPositions(*this, sign1, sign2);
}

void ClassStore::removeSigns(const QString &signOrAll) {
    StoreChanges::removeSigns(*this, signOrAll);
}

QList<PhraseClass> ClassStore::getAll(const QString &username) {
    // id breaks ties between equal positions so the order is stable
    return query(WORD_CLASS_COLUMNS "WHERE username = ? ORDER BY position ASC, id ASC",
                 [&](SQLite::Statement &s) { bindText(s, 1, username); });
}

qint64 ClassStore::getMaxPosition(const QString &username) {
    return store_.nextPosition("SELECT max(position) FROM word_class WHERE username = (?)", username);
}

std::optional<PhraseClass> ClassStore::getData(const QString &sign) {
    const QList<PhraseClass> rows = query(WORD_CLASS_COLUMNS "WHERE sign = ? LIMIT 1",
                                          [&](SQLite::Statement &s) { bindText(s, 1, sign); });
    if (rows.isEmpty())
        return std::nullopt;
    return rows.first();
}

QList<PhraseClass> ClassStore::getLikeAll(const QString &keyText, const QString &username) {
    // "%" and "_" in the key stay wildcards: the pattern is not escaped
    return query(WORD_CLASS_COLUMNS "WHERE username = ?2 AND label LIKE ?1", [&](SQLite::Statement &s) {
        bindText(s, 1, QLatin1Char('%') + keyText + QLatin1Char('%'));
        bindText(s, 2, username);
    });
}

bool ClassStore::replaceAll(const QString &username, const QList<PhraseClass> &rows) {
    return announce(store_.replaceAllOf("word_class", username, insertSql, 4, rows.size(),
                                        [&](SQLite::Statement &insert, qsizetype i) {
                                            bindText(insert, 1, rows[i].sign);
                                            bindText(insert, 2, rows[i].label);
                                            insert.bind(3, int64_t(rows[i].position));
                                        }));
}

PhraseClass ClassStore::fromRow(const SQLite::Statement &row) {
    return PhraseClass(row.getColumn(0).getInt64(), LocalStore::textAt(row, 1), LocalStore::textAt(row, 2),
                       row.getColumn(3).getInt64(), LocalStore::textAt(row, 4));
}

QList<PhraseClass> ClassStore::query(const char *sql, const std::function<void(SQLite::Statement &)> &bind) {
    return store_.rowsOf<PhraseClass>(sql, bind, &fromRow);
}
