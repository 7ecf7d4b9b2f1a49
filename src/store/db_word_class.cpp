#include "store/db_word_class.h"

#include <SQLiteCpp/Transaction.h>
#include <iostream>

#define WORD_CLASS_COLUMNS "SELECT id, sign, label, position, username FROM word_class "

bool db_word_class::create(const QString &sign, const QString &label, qint64 position,
                           const QString &username) {
    SQLite::Database *db = connection();
    if (!db) {
        std::cout << "插入失败" << std::endl;
        return false;
    }
    try {
        SQLite::Statement insert(
            *db, "INSERT INTO word_class (sign, label, position, username) VALUES (?, ?, ?, ?)");
        bindText(insert, 1, sign);
        bindText(insert, 2, label);
        insert.bind(3, int64_t(position));
        bindText(insert, 4, username);
        insert.exec();
        std::cout << "插入成功：" << db->getLastInsertRowid() << " sign = " << sign.toStdString()
                  << std::endl;
        return true;
    } catch (const std::exception &e) {
        std::cout << "插入失败：" << e.what() << std::endl;
        return false;
    }
}

bool db_word_class::delete_(const QString &sign) {
    const int n = changes("DELETE FROM word_class WHERE sign = (?)",
                          [&](SQLite::Statement &s) { bindText(s, 1, sign); });
    std::cout << "删除完毕 影响 " << n << " 行" << std::endl;
    return n > 0;
}

bool db_word_class::deleteAll() {
    const int n = changes("DELETE FROM word_class", [](SQLite::Statement &) {});
    std::cout << "删除完毕 影响 " << n << " 行" << std::endl;
    return n > 0;
}

bool db_word_class::deleteAll(const QString &username) {
    const int n = changes("DELETE FROM word_class WHERE username = (?)",
                          [&](SQLite::Statement &s) { bindText(s, 1, username); });
    std::cout << "删除完毕 影响 " << n << " 行" << std::endl;
    return n > 0;
}

bool db_word_class::setLabel(const QString &sign, const QString &newLabel) {
    const int n = changes("UPDATE word_class SET label = (?) WHERE sign = (?)", [&](SQLite::Statement &s) {
        bindText(s, 1, newLabel);
        bindText(s, 2, sign);
    });
    std::cout << "修改数据class_update 影响 " << n << " 行" << std::endl;
    return n > 0;
}

bool db_word_class::setPosition(const QString &sign, qint64 newPosition) {
    const int n = changes("UPDATE word_class SET position = (?) WHERE sign = (?)", [&](SQLite::Statement &s) {
        s.bind(1, int64_t(newPosition));
        bindText(s, 2, sign);
    });
    std::cout << "修改数据class_upcount 影响 " << n << " 行" << std::endl;
    return n > 0;
}

QList<DataWordClass> db_word_class::getAll(const QString &username) {
    // id breaks ties between equal positions so the order is stable
    return query(WORD_CLASS_COLUMNS "WHERE username = ? ORDER BY position ASC, id ASC",
                 [&](SQLite::Statement &s) { bindText(s, 1, username); });
}

qint64 db_word_class::getMaxPosition(const QString &username) {
    SQLite::Database *db = connection();
    if (!db)
        return 0;
    try {
        SQLite::Statement max(*db, "SELECT max(position) FROM word_class WHERE username = (?)");
        bindText(max, 1, username);
        if (!max.executeStep() || max.getColumn(0).isNull())
            return 0;
        return max.getColumn(0).getInt64() + 1;
    } catch (const std::exception &e) {
        std::cout << "查询失败：" << e.what() << std::endl;
        return 0;
    }
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
    SQLite::Database *db = connection();
    if (!db) {
        std::cout << "插入失败" << std::endl;
        return false;
    }
    try {
        SQLite::Transaction transaction(*db, SQLite::TransactionBehavior::IMMEDIATE);
        SQLite::Statement remove(*db, "DELETE FROM word_class WHERE username = (?)");
        bindText(remove, 1, username);
        remove.exec();
        SQLite::Statement insert(
            *db, "INSERT INTO word_class (sign, label, position, username) VALUES (?, ?, ?, ?)");
        bindText(insert, 4, username);
        for (const DataWordClass &row : rows) {
            bindText(insert, 1, row.sign);
            bindText(insert, 2, row.label);
            insert.bind(3, int64_t(row.position));
            insert.exec();
            insert.reset();
        }
        transaction.commit();
        std::cout << "批量写入 word_class 成功：" << rows.size()
                  << " 行 username = " << username.toStdString() << std::endl;
        return true;
    } catch (const std::exception &e) {
        std::cout << "批量写入 word_class 失败：" << e.what() << std::endl;
        return false;
    }
}

DataWordClass db_word_class::fromRow(const SQLite::Statement &row) {
    return DataWordClass(row.getColumn(0).getInt64(), textAt(row, 1), textAt(row, 2),
                         row.getColumn(3).getInt64(), textAt(row, 4));
}

QList<DataWordClass> db_word_class::query(const char *sql,
                                          const std::function<void(SQLite::Statement &)> &bind) {
    QList<DataWordClass> result;
    SQLite::Database *db = connection();
    if (!db)
        return result;
    try {
        SQLite::Statement select(*db, sql);
        bind(select);
        while (select.executeStep())
            result.append(fromRow(select));
    } catch (const std::exception &e) {
        std::cout << "查询失败：" << e.what() << std::endl;
        result.clear();
    }
    return result;
}
