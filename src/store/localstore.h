#pragma once

#include <QList>
#include <QString>
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <exception>
#include <functional>
#include <optional>

// The process-wide SQLite connection, opened lazily by the first store object, and the two tables.
class LocalStore {
public:
    LocalStore();

    // Absent when the database could not be opened (each call tries again until it opens).
    static SQLite::Database *connection();
    // Why opening failed, with the path; empty when it opened.
    static QString openError();
    // The database file: LocalPath::sqliteDir() + "/database.sqlite3".
    static QString databasePath();

    static inline const char *TABLE_WORD_CLASS = "word_class";
    static inline const char *TABLE_WORD_LIST = "Word_list"; // the capital W is deliberate

protected:
    static std::optional<SQLite::Database> dbConnection;

    // Runs one change statement; the connection's count of changed rows, 0 without a connection or
    // when the statement fails (the failure is logged).
    static int changes(const char *sql, const std::function<void(SQLite::Statement &)> &bind);

    // changes(), then "<what> 影响 n 行"; true when a row changed.
    static bool changesLogged(const char *what, const char *sql,
                              const std::function<void(SQLite::Statement &)> &bind);
    // Runs one INSERT, logging the new row id and sign, or why it failed.
    static bool insertOne(const char *sql, const QString &sign,
                          const std::function<void(SQLite::Statement &)> &bind);
    // Deletes every row of username in table and inserts count rows in one transaction; bindRow binds
    // row i on the insert statement, which keeps username at usernameIndex.
    static bool replaceAllOf(const char *table, const QString &username, const char *insertSql,
                             int usernameIndex, qsizetype count,
                             const std::function<void(SQLite::Statement &, qsizetype)> &bindRow);
    // max(position) + 1 from a one-parameter query of max(position), 0 when there is none.
    static qint64 nextPosition(const char *sql, const QString &key);
    // Every row the query yields, converted by fromRow; empty on failure (logged).
    template <typename Row>
    static QList<Row> rowsOf(const char *sql, const std::function<void(SQLite::Statement &)> &bind,
                             Row (*fromRow)(const SQLite::Statement &)) {
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
    static void open();
    static void createClassTable();
    static void createPhraseTable();
};
