#include "store/phrasesearchindex.h"

#include "store/localstore.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <algorithm>
#include <cstring>
#include <iostream>
#include <sqlite3.h>
#include <string>
#include <strings.h>
#include <vector>

namespace {

struct Entry {
    qint64 id = 0;
    std::string username;
    // label, NUL, texts: a key never holds NUL, so no match spans the two.
    std::string haystack;
};

struct State {
    sqlite3 *hooked = nullptr;
    bool built = false;
    int dataVersion = -1;        // moves when another connection commits, which no hook of ours sees
    std::vector<Entry> entries;  // ascending id: the table's own order
    std::vector<qint64> touched; // rows written since the copy was last brought up to date
    // The previous search, narrowed when the next key contains it.
    std::string lastKey;
    std::string lastUser;
    std::vector<size_t> lastHits;
    bool lastValid = false;
};

State &state() {
    static State s;
    return s;
}

// Past this many written rows one full read is cheaper than reading them one by one.
constexpr size_t rereadAllAfter = 2048;

void foldAscii(std::string &s) {
    for (char &c : s)
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
}

Entry entryOf(const SQLite::Statement &row) {
    std::string haystack = row.getColumn(2).getString();
    haystack += '\0';
    haystack += row.getColumn(3).getString();
    foldAscii(haystack);
    return {row.getColumn(0).getInt64(), row.getColumn(1).getString(), std::move(haystack)};
}

void onRowWritten(void *, int, const char *, const char *table, sqlite3_int64 rowid) {
    State &s = state();
    if (!s.built || strcasecmp(table, LocalStore::TABLE_WORD_LIST) != 0)
        return;
    if (s.touched.size() >= rereadAllAfter) {
        s.built = false;
        s.touched = {};
        return;
    }
    s.touched.push_back(rowid);
}

void onRollback(void *) {
    // Rows noted before the rollback may never have been written: read everything again.
    state().built = false;
    state().touched.clear();
}

void forgetLastSearch() {
    State &s = state();
    s.lastValid = false;
    s.lastHits = {};
}

int dataVersion(SQLite::Database &db) {
    try {
        return db.execAndGet("PRAGMA data_version").getInt();
    } catch (const std::exception &) {
        return -1;
    }
}

bool readAll(SQLite::Database &db) {
    State &s = state();
    s.entries.clear();
    s.touched.clear();
    forgetLastSearch();
    try {
        SQLite::Statement rows(db, "SELECT id, username, label, texts FROM word_list ORDER BY id");
        while (rows.executeStep())
            s.entries.push_back(entryOf(rows));
    } catch (const std::exception &e) {
        std::cout << "ERROR 搜索索引读取失败 " << e.what() << std::endl;
        s.entries = {};
        return false;
    }
    s.entries.shrink_to_fit();
    s.built = true;
    s.dataVersion = dataVersion(db);
    return true;
}

bool readTouched(SQLite::Database &db) {
    State &s = state();
    std::sort(s.touched.begin(), s.touched.end());
    s.touched.erase(std::unique(s.touched.begin(), s.touched.end()), s.touched.end());
    forgetLastSearch();
    try {
        SQLite::Statement row(db, "SELECT id, username, label, texts FROM word_list WHERE id = ?");
        for (qint64 id : s.touched) {
            auto at = std::lower_bound(s.entries.begin(), s.entries.end(), id,
                                       [](const Entry &e, qint64 v) { return e.id < v; });
            if (at != s.entries.end() && at->id == id)
                at = s.entries.erase(at);
            row.bind(1, int64_t(id));
            if (row.executeStep())
                s.entries.insert(at, entryOf(row));
            row.reset();
        }
    } catch (const std::exception &e) {
        std::cout << "ERROR 搜索索引读取失败 " << e.what() << std::endl;
        s.built = false;
        return false;
    }
    s.touched.clear();
    return true;
}

bool bringUpToDate(SQLite::Database &db) {
    State &s = state();
    if (s.hooked != db.getHandle()) {
        sqlite3_update_hook(db.getHandle(), &onRowWritten, nullptr);
        sqlite3_rollback_hook(db.getHandle(), &onRollback, nullptr);
        s.hooked = db.getHandle();
        s.built = false;
    }
    if (!s.built || s.dataVersion != dataVersion(db))
        return readAll(db);
    return s.touched.empty() || readTouched(db);
}

bool contains(const std::string &haystack, const std::string &key) {
    return key.empty() || memmem(haystack.data(), haystack.size(), key.data(), key.size()) != nullptr;
}

} // namespace

std::optional<QList<qint64>> PhraseSearchIndex::search(const QString &key, const QString &username) {
    if (key.contains(QLatin1Char('%')) || key.contains(QLatin1Char('_')))
        return std::nullopt;
    SQLite::Database *db = LocalStore::connection();
    if (!db || !bringUpToDate(*db))
        return std::nullopt;

    State &s = state();
    std::string folded = key.toStdString();
    foldAscii(folded);
    const std::string user = username.toStdString();
    // Every hit of a longer key is a hit of any key it contains.
    const bool narrow = s.lastValid && s.lastUser == user && folded.find(s.lastKey) != std::string::npos;

    std::vector<size_t> hits;
    auto test = [&](size_t i) {
        const Entry &e = s.entries[i];
        if (e.username == user && contains(e.haystack, folded))
            hits.push_back(i);
    };
    if (narrow) {
        for (size_t i : s.lastHits)
            test(i);
    } else {
        for (size_t i = 0; i < s.entries.size(); ++i)
            test(i);
    }

    QList<qint64> ids;
    ids.reserve(qsizetype(hits.size()));
    for (size_t i : hits)
        ids.append(s.entries[i].id);
    s.lastKey = std::move(folded);
    s.lastUser = user;
    s.lastHits = std::move(hits);
    s.lastValid = true;
    return ids;
}

void PhraseSearchIndex::clear() {
    State &s = state();
    s.built = false;
    s.entries = {};
    s.touched = {};
    s.lastKey.clear();
    forgetLastSearch();
}
