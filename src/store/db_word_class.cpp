#include "store/db_word_class.h"

#define WORD_CLASS_COLUMNS "SELECT id, sign, label, position, username FROM word_class "

namespace {

const char *const insertSql = "INSERT INTO word_class (sign, label, position, username) VALUES (?, ?, ?, ?)";

} // namespace

bool db_word_class::create(const QString &sign, const QString &label, qint64 position,
                           const QString &username) {
    return insertOne(insertSql, sign, [&](SQLite::Statement &insert) {
        bindText(insert, 1, sign);
        bindText(insert, 2, label);
        insert.bind(3, int64_t(position));
        bindText(insert, 4, username);
    });
}

bool db_word_class::delete_(const QString &sign) {
    return changesLogged("删除完毕", "DELETE FROM word_class WHERE sign = (?)",
                         [&](SQLite::Statement &s) { bindText(s, 1, sign); });
}

bool db_word_class::deleteAll() {
    return changesLogged("删除完毕", "DELETE FROM word_class", [](SQLite::Statement &) {});
}

bool db_word_class::deleteAll(const QString &username) {
    return changesLogged("删除完毕", "DELETE FROM word_class WHERE username = (?)",
                         [&](SQLite::Statement &s) { bindText(s, 1, username); });
}

bool db_word_class::setLabel(const QString &sign, const QString &newLabel) {
    return changesLogged("修改数据class_update", "UPDATE word_class SET label = (?) WHERE sign = (?)",
                         [&](SQLite::Statement &s) {
                             bindText(s, 1, newLabel);
                             bindText(s, 2, sign);
                         });
}

bool db_word_class::setPosition(const QString &sign, qint64 newPosition) {
    return changesLogged("修改数据class_upcount", "UPDATE word_class SET position = (?) WHERE sign = (?)",
                         [&](SQLite::Statement &s) {
                             s.bind(1, int64_t(newPosition));
                             bindText(s, 2, sign);
                         });
}

QList<DataWordClass> db_word_class::getAll(const QString &username) {
    // id breaks ties between equal positions so the order is stable
    return query(WORD_CLASS_COLUMNS "WHERE username = ? ORDER BY position ASC, id ASC",
                 [&](SQLite::Statement &s) { bindText(s, 1, username); });
}

qint64 db_word_class::getMaxPosition(const QString &username) {
    return nextPosition("SELECT max(position) FROM word_class WHERE username = (?)", username);
}

std::optional<DataWordClass> db_word_class::getData(const QString &sign) {
    const QList<DataWordClass> rows = query(WORD_CLASS_COLUMNS "WHERE sign = ? LIMIT 1",
                                            [&](SQLite::Statement &s) { bindText(s, 1, sign); });
    if (rows.isEmpty())
        return std::nullopt;
    return rows.first();
}

QList<DataWordClass> db_word_class::getLikeAll(const QString &keyText, const QString &username) {
    // "%" and "_" in the key stay wildcards: the pattern is not escaped
    return query(WORD_CLASS_COLUMNS "WHERE username = ?2 AND label LIKE ?1", [&](SQLite::Statement &s) {
        bindText(s, 1, QLatin1Char('%') + keyText + QLatin1Char('%'));
        bindText(s, 2, username);
    });
}

bool db_word_class::replaceAll(const QString &username, const QList<DataWordClass> &rows) {
    return replaceAllOf("word_class", username, insertSql, 4, rows.size(),
                        [&](SQLite::Statement &insert, qsizetype i) {
                            bindText(insert, 1, rows[i].sign);
                            bindText(insert, 2, rows[i].label);
                            insert.bind(3, int64_t(rows[i].position));
                        });
}

DataWordClass db_word_class::fromRow(const SQLite::Statement &row) {
    return DataWordClass(row.getColumn(0).getInt64(), textAt(row, 1), textAt(row, 2),
                         row.getColumn(3).getInt64(), textAt(row, 4));
}

QList<DataWordClass> db_word_class::query(const char *sql,
                                          const std::function<void(SQLite::Statement &)> &bind) {
    return rowsOf(sql, bind, &fromRow);
}
