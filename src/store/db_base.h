#pragma once

#include <SQLiteCpp/Database.h>
#include <QString>
#include <optional>

// The process-wide SQLite connection, opened lazily by the first store object, and the two tables.
class db_base {
public:
    db_base();

    // Absent when the database could not be opened.
    static SQLite::Database *connection();
    // Why opening failed, with the path; empty when it opened.
    static QString openError();

    static inline const char *TABLE_WORD_CLASS = "word_class";
    static inline const char *TABLE_WORD_LIST = "Word_list"; // the capital W is deliberate

protected:
    static std::optional<SQLite::Database> dbConnection;

private:
    static void createTable_wordClass();
    static void createTable_wordList();
};
