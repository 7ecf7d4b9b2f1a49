#pragma once

#include <QList>
#include <QString>
#include <optional>
#include <string>
#include <vector>

class LocalStore;
struct sqlite3;
namespace SQLite {
class Database;
class Statement;
} // namespace SQLite

// Every phrase's searchable text (label and texts, ASCII letters folded the way LIKE folds them) in
// table order, kept in memory so that a keystroke scans bytes instead of the database. An update
// hook on the connection notes every row written, whoever writes it; the next search reads just
// those rows again (or the whole table after a rollback or a bulk replace).
class PhraseSearchIndex {
public:
    explicit PhraseSearchIndex(LocalStore &store);
    ~PhraseSearchIndex();
    PhraseSearchIndex(const PhraseSearchIndex &) = delete;
    PhraseSearchIndex &operator=(const PhraseSearchIndex &) = delete;

    // Ids of the user's phrases whose label or texts contain key, in table order. Absent when the
    // key holds a LIKE wildcard ("%" or "_"), which only the database matches faithfully, or when
    // there is no database.
    std::optional<QList<qint64>> search(const QString &key, const QString &username);

    // Reads the table into the copy now rather than on the first keystroke, so that a search adds
    // nothing to the memory a loaded library takes. False without a database.
    bool prepare();

    // Drops the copy (its memory goes back at once); the next search reads the table again.
    void clear();

private:
    struct Row {
        qint64 id = 0;
        quint32 user = 0; // index into users_
        size_t start = 0; // where its text begins in text_
    };

    static void onRowWritten(void *self, int, const char *, const char *table, long long rowid);
    static void onRollback(void *self);
    quint32 userIndex(const std::string &name);
    void append(std::string &text, std::vector<Row> &rows, const SQLite::Statement &row);
    size_t endOf(size_t row) const;
    void forgetLastSearch();
    bool readAll(SQLite::Database &db);
    bool readTouched(SQLite::Database &db);
    bool bringUpToDate(SQLite::Database &db);
    bool rowContains(size_t row, const std::string &key) const;
    std::vector<size_t> scanAll(const std::string &key, quint32 user) const;

    LocalStore &store_;
    sqlite3 *hooked_ = nullptr;
    bool built_ = false;
    int dataVersion_ = -1; // moves when another connection commits, which no hook of ours sees
    // The texts of all rows in one buffer, so that a search is one pass of memmem over contiguous
    // memory. Each row is "label NUL texts NUL": a key never holds NUL, so no match spans two fields.
    std::string text_;
    std::vector<Row> rows_; // ascending id: the table's own order
    std::vector<std::string> users_;
    std::vector<qint64> touched_; // rows written since the copy was last brought up to date
    // The previous search, narrowed when the next key contains it.
    std::string lastKey_;
    quint32 lastUser_ = 0;
    std::vector<size_t> lastHits_;
    bool lastValid_ = false;
};
