#pragma once

#include <QString>
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <functional>
#include <optional>

// The process-wide SQLite connection, opened lazily by the first store object, and the two tables.
class db_base {
public:
    db_base();

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

    static void bindText(SQLite::Statement &statement, int index, const QString &value);
    static QString textAt(const SQLite::Statement &statement, int index);

private:
    static void open();
    static void createTable_wordClass();
    static void createTable_wordList();
};
