#include "store/phrasesearchindex.h"

#include "model/logging.h"
#include "store/localstore.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <algorithm>
#include <cstring>
#include <malloc.h>
#include <sqlite3.h>
#include <strings.h>

namespace {

// Past this many written rows one full read is cheaper than reading them one by one.
constexpr size_t rereadAllAfter = 2048;
constexpr const char *rowColumns = "SELECT id, username, label, texts FROM word_list";

void foldAscii(char *begin, char *end) {
    for (char *c = begin; c != end; ++c)
        if (*c >= 'A' && *c <= 'Z')
            *c = char(*c - 'A' + 'a');
}

int dataVersion(SQLite::Database &db) {
    try {
        return db.execAndGet("PRAGMA data_version").getInt();
    } catch (const std::exception &) {
        return -1;
    }
}

} // namespace

PhraseSearchIndex::PhraseSearchIndex(LocalStore &store) : store_(store) {}

PhraseSearchIndex::~PhraseSearchIndex() {
    // The connection may outlive this index: its hooks must not call into a gone object.
    if (hooked_ && store_.connection() && store_.connection()->getHandle() == hooked_) {
        sqlite3_update_hook(hooked_, nullptr, nullptr);
        sqlite3_rollback_hook(hooked_, nullptr, nullptr);
    }
}

quint32 PhraseSearchIndex::userIndex(const std::string &name) {
    auto at = std::find(users_.begin(), users_.end(), name);
    if (at != users_.end())
        return quint32(at - users_.begin());
    users_.push_back(name);
    return quint32(users_.size() - 1);
}

// Appends a row read by rowColumns to text and rows.
void PhraseSearchIndex::append(std::string &text, std::vector<Row> &rows, const SQLite::Statement &row) {
    const size_t start = text.size();
    text += row.getColumn(2).getString();
    text += '\0';
    text += row.getColumn(3).getString();
    text += '\0';
    foldAscii(text.data() + start, text.data() + text.size());
    rows.push_back({row.getColumn(0).getInt64(), userIndex(row.getColumn(1).getString()), start});
}

size_t PhraseSearchIndex::endOf(size_t row) const {
    return row + 1 < rows_.size() ? rows_[row + 1].start : text_.size();
}

void PhraseSearchIndex::onRowWritten(void *self, int, const char *, const char *table, long long rowid) {
    auto *index = static_cast<PhraseSearchIndex *>(self);
    if (!index->built_ || strcasecmp(table, LocalStore::TABLE_WORD_LIST) != 0)
        return;
    if (index->touched_.size() >= rereadAllAfter) {
        index->built_ = false;
        index->touched_ = {};
        return;
    }
    index->touched_.push_back(rowid);
}

void PhraseSearchIndex::onRollback(void *self) {
    // Rows noted before the rollback may never have been written: read everything again.
    auto *index = static_cast<PhraseSearchIndex *>(self);
    index->built_ = false;
    index->touched_.clear();
}

void PhraseSearchIndex::forgetLastSearch() {
    lastValid_ = false;
    lastHits_ = {};
}

bool PhraseSearchIndex::readAll(SQLite::Database &db) {
    std::string text;
    std::vector<Row> rows;
    touched_.clear();
    forgetLastSearch();
    try {
        SQLite::Statement all(db, std::string(rowColumns) + " ORDER BY id");
        while (all.executeStep())
            append(text, rows, all);
    } catch (const std::exception &e) {
        qCWarning(lcStore, "reading the search index failed: %s", e.what());
        text_ = {};
        rows_ = {};
        built_ = false;
        return false;
    }
    text.shrink_to_fit();
    rows.shrink_to_fit();
    text_ = std::move(text);
    rows_ = std::move(rows);
    built_ = true;
    dataVersion_ = dataVersion(db);
    // The copy grew by doubling; give the buffers it outgrew back.
    malloc_trim(0);
    return true;
}

// Copies the buffer once, with the written rows read again in their place (or left out when gone).
bool PhraseSearchIndex::readTouched(SQLite::Database &db) {
    std::sort(touched_.begin(), touched_.end());
    touched_.erase(std::unique(touched_.begin(), touched_.end()), touched_.end());
    forgetLastSearch();
    std::string text;
    std::vector<Row> rows;
    text.reserve(text_.size());
    rows.reserve(rows_.size() + touched_.size());
    try {
        SQLite::Statement fresh(db, std::string(rowColumns) + " WHERE id = ?");
        auto touched = touched_.begin();
        auto readFresh = [&](qint64 id) {
            fresh.bind(1, int64_t(id));
            if (fresh.executeStep())
                append(text, rows, fresh);
            fresh.reset();
        };
        for (size_t r = 0; r < rows_.size(); ++r) {
            const qint64 id = rows_[r].id;
            while (touched != touched_.end() && *touched < id)
                readFresh(*touched++);
            if (touched != touched_.end() && *touched == id) {
                readFresh(*touched++);
                continue;
            }
            rows.push_back({id, rows_[r].user, text.size()});
            text.append(text_, rows_[r].start, endOf(r) - rows_[r].start);
        }
        while (touched != touched_.end())
            readFresh(*touched++);
    } catch (const std::exception &e) {
        qCWarning(lcStore, "reading the search index failed: %s", e.what());
        built_ = false;
        return false;
    }
    text_ = std::move(text);
    rows_ = std::move(rows);
    touched_.clear();
    return true;
}

bool PhraseSearchIndex::bringUpToDate(SQLite::Database &db) {
    if (hooked_ != db.getHandle()) {
        sqlite3_update_hook(db.getHandle(), &onRowWritten, this);
        sqlite3_rollback_hook(db.getHandle(), &onRollback, this);
        hooked_ = db.getHandle();
        built_ = false;
    }
    if (!built_ || dataVersion_ != dataVersion(db))
        return readAll(db);
    return touched_.empty() || readTouched(db);
}

bool PhraseSearchIndex::rowContains(size_t row, const std::string &key) const {
    const size_t start = rows_[row].start;
    return key.empty() || memmem(text_.data() + start, endOf(row) - start, key.data(), key.size()) != nullptr;
}

// One pass over the whole buffer: each match names its row, and the pass goes on after that row.
std::vector<size_t> PhraseSearchIndex::scanAll(const std::string &key, quint32 user) const {
    std::vector<size_t> hits;
    if (key.empty()) {
        for (size_t r = 0; r < rows_.size(); ++r)
            if (rows_[r].user == user)
                hits.push_back(r);
        return hits;
    }
    const char *base = text_.data();
    size_t pos = 0;
    size_t row = 0; // matches come in buffer order, so the row only ever moves forward
    while (pos < text_.size()) {
        const void *found = memmem(base + pos, text_.size() - pos, key.data(), key.size());
        if (!found)
            break;
        const size_t offset = size_t(static_cast<const char *>(found) - base);
        while (row + 1 < rows_.size() && rows_[row + 1].start <= offset)
            ++row;
        if (rows_[row].user == user)
            hits.push_back(row);
        pos = endOf(row);
    }
    return hits;
}

std::optional<QList<qint64>> PhraseSearchIndex::search(const QString &key, const QString &username) {
    if (key.contains(QLatin1Char('%')) || key.contains(QLatin1Char('_')))
        return std::nullopt;
    SQLite::Database *db = store_.connection();
    if (!db || !bringUpToDate(*db))
        return std::nullopt;

    std::string folded = key.toStdString();
    foldAscii(folded.data(), folded.data() + folded.size());
    const quint32 user = userIndex(username.toStdString());
    // Every hit of a longer key is a hit of any key it contains.
    const bool narrow = lastValid_ && lastUser_ == user && folded.find(lastKey_) != std::string::npos;

    std::vector<size_t> hits;
    if (narrow) {
        for (size_t r : lastHits_)
            if (rowContains(r, folded))
                hits.push_back(r);
    } else {
        hits = scanAll(folded, user);
    }

    QList<qint64> ids;
    ids.reserve(qsizetype(hits.size()));
    for (size_t r : hits)
        ids.append(rows_[r].id);
    lastKey_ = std::move(folded);
    lastUser_ = user;
    lastHits_ = std::move(hits);
    lastValid_ = true;
    return ids;
}

bool PhraseSearchIndex::prepare() {
    SQLite::Database *db = store_.connection();
    return db && bringUpToDate(*db);
}

void PhraseSearchIndex::clear() {
    built_ = false;
    text_ = {};
    rows_ = {};
    users_ = {};
    touched_ = {};
    lastKey_.clear();
    forgetLastSearch();
}
