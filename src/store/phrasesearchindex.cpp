#include "store/phrasesearchindex.h"

#include "store/localstore.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <algorithm>
#include <cstring>
#include <iostream>
#include <malloc.h>
#include <sqlite3.h>
#include <string>
#include <strings.h>
#include <vector>

namespace {

struct Row {
    qint64 id = 0;
    quint32 user = 0; // index into State::users
    size_t start = 0; // where its text begins in State::text
};

// The texts of all rows in one buffer, so that a search is one pass of memmem over contiguous
// memory. Each row is "label NUL texts NUL": a key never holds NUL, so no match spans two fields.
struct State {
    sqlite3 *hooked = nullptr;
    bool built = false;
    int dataVersion = -1; // moves when another connection commits, which no hook of ours sees
    std::string text;
    std::vector<Row> rows; // ascending id: the table's own order
    std::vector<std::string> users;
    std::vector<qint64> touched; // rows written since the copy was last brought up to date
    // The previous search, narrowed when the next key contains it.
    std::string lastKey;
    quint32 lastUser = 0;
    std::vector<size_t> lastHits;
    bool lastValid = false;
};

State &state() {
    static State s;
    return s;
}

// Past this many written rows one full read is cheaper than reading them one by one.
constexpr size_t rereadAllAfter = 2048;
constexpr const char *rowColumns = "SELECT id, username, label, texts FROM word_list";

void foldAscii(char *begin, char *end) {
    for (char *c = begin; c != end; ++c)
        if (*c >= 'A' && *c <= 'Z')
            *c = char(*c - 'A' + 'a');
}

quint32 userIndex(State &s, const std::string &name) {
    auto at = std::find(s.users.begin(), s.users.end(), name);
    if (at != s.users.end())
        return quint32(at - s.users.begin());
    s.users.push_back(name);
    return quint32(s.users.size() - 1);
}

// Appends a row read by rowColumns to text and rows.
void append(State &s, std::string &text, std::vector<Row> &rows, const SQLite::Statement &row) {
    const size_t start = text.size();
    text += row.getColumn(2).getString();
    text += '\0';
    text += row.getColumn(3).getString();
    text += '\0';
    foldAscii(text.data() + start, text.data() + text.size());
    rows.push_back({row.getColumn(0).getInt64(), userIndex(s, row.getColumn(1).getString()), start});
}

size_t endOf(const State &s, size_t row) {
    return row + 1 < s.rows.size() ? s.rows[row + 1].start : s.text.size();
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
    std::string text;
    std::vector<Row> rows;
    s.touched.clear();
    forgetLastSearch();
    try {
        SQLite::Statement all(db, std::string(rowColumns) + " ORDER BY id");
        while (all.executeStep())
            append(s, text, rows, all);
    } catch (const std::exception &e) {
        std::cout << "ERROR 搜索索引读取失败 " << e.what() << std::endl;
        s.text = {};
        s.rows = {};
        s.built = false;
        return false;
    }
    text.shrink_to_fit();
    rows.shrink_to_fit();
    s.text = std::move(text);
    s.rows = std::move(rows);
    s.built = true;
    s.dataVersion = dataVersion(db);
    // The copy grew by doubling; give the buffers it outgrew back.
    malloc_trim(0);
    return true;
}

// Copies the buffer once, with the written rows read again in their place (or left out when gone).
bool readTouched(SQLite::Database &db) {
    State &s = state();
    std::sort(s.touched.begin(), s.touched.end());
    s.touched.erase(std::unique(s.touched.begin(), s.touched.end()), s.touched.end());
    forgetLastSearch();
    std::string text;
    std::vector<Row> rows;
    text.reserve(s.text.size());
    rows.reserve(s.rows.size() + s.touched.size());
    try {
        SQLite::Statement fresh(db, std::string(rowColumns) + " WHERE id = ?");
        auto touched = s.touched.begin();
        auto readFresh = [&](qint64 id) {
            fresh.bind(1, int64_t(id));
            if (fresh.executeStep())
                append(s, text, rows, fresh);
            fresh.reset();
        };
        for (size_t r = 0; r < s.rows.size(); ++r) {
            const qint64 id = s.rows[r].id;
            while (touched != s.touched.end() && *touched < id)
                readFresh(*touched++);
            if (touched != s.touched.end() && *touched == id) {
                readFresh(*touched++);
                continue;
            }
            rows.push_back({id, s.rows[r].user, text.size()});
            text.append(s.text, s.rows[r].start, endOf(s, r) - s.rows[r].start);
        }
        while (touched != s.touched.end())
            readFresh(*touched++);
    } catch (const std::exception &e) {
        std::cout << "ERROR 搜索索引读取失败 " << e.what() << std::endl;
        s.built = false;
        return false;
    }
    s.text = std::move(text);
    s.rows = std::move(rows);
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

bool rowContains(const State &s, size_t row, const std::string &key) {
    const size_t start = s.rows[row].start;
    return key.empty() ||
           memmem(s.text.data() + start, endOf(s, row) - start, key.data(), key.size()) != nullptr;
}

// One pass over the whole buffer: each match names its row, and the pass goes on after that row.
std::vector<size_t> scanAll(const State &s, const std::string &key, quint32 user) {
    std::vector<size_t> hits;
    if (key.empty()) {
        for (size_t r = 0; r < s.rows.size(); ++r)
            if (s.rows[r].user == user)
                hits.push_back(r);
        return hits;
    }
    const char *base = s.text.data();
    size_t pos = 0;
    size_t row = 0; // matches come in buffer order, so the row only ever moves forward
    while (pos < s.text.size()) {
        const void *found = memmem(base + pos, s.text.size() - pos, key.data(), key.size());
        if (!found)
            break;
        const size_t offset = size_t(static_cast<const char *>(found) - base);
        while (row + 1 < s.rows.size() && s.rows[row + 1].start <= offset)
            ++row;
        if (s.rows[row].user == user)
            hits.push_back(row);
        pos = endOf(s, row);
    }
    return hits;
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
    foldAscii(folded.data(), folded.data() + folded.size());
    const quint32 user = userIndex(s, username.toStdString());
    // Every hit of a longer key is a hit of any key it contains.
    const bool narrow = s.lastValid && s.lastUser == user && folded.find(s.lastKey) != std::string::npos;

    std::vector<size_t> hits;
    if (narrow) {
        for (size_t r : s.lastHits)
            if (rowContains(s, r, folded))
                hits.push_back(r);
    } else {
        hits = scanAll(s, folded, user);
    }

    QList<qint64> ids;
    ids.reserve(qsizetype(hits.size()));
    for (size_t r : hits)
        ids.append(s.rows[r].id);
    s.lastKey = std::move(folded);
    s.lastUser = user;
    s.lastHits = std::move(hits);
    s.lastValid = true;
    return ids;
}

bool PhraseSearchIndex::prepare() {
    SQLite::Database *db = LocalStore::connection();
    return db && bringUpToDate(*db);
}

void PhraseSearchIndex::clear() {
    State &s = state();
    s.built = false;
    s.text = {};
    s.rows = {};
    s.users = {};
    s.touched = {};
    s.lastKey.clear();
    forgetLastSearch();
}
