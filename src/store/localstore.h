#pragma once

#include "model/result.h"

#include <QList>
#include <QString>
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <exception>
#include <functional>
#include <optional>

// The SQLite connection of one signed-in session and the two tables. The stores run their
// statements through it; without an open connection they answer empty and change nothing.
class LocalStore {
public:
    explicit LocalStore(QString path = defaultPath());
    LocalStore(const LocalStore &) = delete;
    LocalStore &operator=(const LocalStore &) = delete;

    // Opens the file and makes the tables that are missing. The failure names the file and why.
    Result<void> open();
    // Absent until open() succeeded.
    SQLite::Database *connection() { return db_ ? &*db_ : nullptr; }
    const QString &path() const { return path_; }
    // LocalPath::sqliteDir() + "/database.sqlite3".
    static QString defaultPath();

    static inline const char *TABLE_WORD_CLASS = "word_class";
    static inline const char *TABLE_WORD_LIST = "Word_list"; // the capital W is deliberate

    // Runs one change statement; the count of changed rows, 0 without a connection or when the
    // statement fails (the failure is logged).
    int changes(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
    // changes(), then "<what> 影响 n 行"; true when a row changed.
    bool changesLogged(const char *what, const char *sql,
                       const std::function<void(SQLite::Statement &)> &bind);
    // Runs one INSERT, logging the new row id and sign, or why it failed.
    bool insertOne(const char *sql, const QString &sign,
                   const std::function<void(SQLite::Statement &)> &bind);
    // Deletes every row of username in table and inserts count rows in one transaction; bindRow binds
    // row i on the insert statement, which keeps username at usernameIndex.
    bool replaceAllOf(const char *table, const QString &username, const char *insertSql, int usernameIndex,
                      qsizetype count, const std::function<void(SQLite::Statement &, qsizetype)> &bindRow);
    // max(position) + 1 from a one-parameter query of max(position), 0 when there is none.
    qint64 nextPosition(const char *sql, const QString &key);
    // Every row the query yields, converted by fromRow; empty on failure (logged).
    template <typename Row, typename FromRow>
    QList<Row> rowsOf(const char *sql, const std::function<void(SQLite::Statement &)> &bind,
                      FromRow fromRow) {
        QList<Row> result;
        SQLite::Database *db = connection();
        if (!db)
            return result;
        try {
            SQLite::Statement select(*db, sql);
            bind(select);
            while (select.executeStep())
                result.append(fromRow(select));
        } catch (const std::exception &e) {
            logQueryFailure(e);
            result.clear();
        }
        return result;
    }

    static void logQueryFailure(const std::exception &e);
    static void bindText(SQLite::Statement &statement, int index, const QString &value);
    static QString textAt(const SQLite::Statement &statement, int index);

private:
    void createTable(const char *sql);

    QString path_;
    std::optional<SQLite::Database> db_;
};
