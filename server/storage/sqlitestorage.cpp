#include "storage/sqlitestorage.h"

#include "log/servicelog.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <atomic>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <set>
#include <type_traits>
#include <unordered_map>

namespace {

std::atomic<std::uint64_t> nextInstance{1};

// Request threads live as long as the server; each keeps its own connection per storage, with the
// statements of the busy paths prepared once.
struct Connection {
    std::unique_ptr<SQLite::Database> db;
    std::unordered_map<const char *, std::unique_ptr<SQLite::Statement>> statements;
    ~Connection() { statements.clear(); } // finalised before the database closes
};
thread_local std::unordered_map<std::uint64_t, Connection> connections;

// A cached statement, reset when the scope ends so no read snapshot outlives its use.
class Prepared {
public:
    Prepared(std::uint64_t instance, const char *sql) {
        auto &conn = connections.at(instance);
        auto &slot = conn.statements[sql];
        if (!slot)
            slot = std::make_unique<SQLite::Statement>(*conn.db, sql);
        statement_ = slot.get();
    }
    ~Prepared() {
        try {
            statement_->reset();
            statement_->clearBindings();
        } catch (...) {
        }
    }
    Prepared(const Prepared &) = delete;
    Prepared &operator=(const Prepared &) = delete;
    SQLite::Statement *operator->() const { return statement_; }

private:
    SQLite::Statement *statement_;
};

constexpr int schemaVersion = 3;

// The version a change in progress commits as (the bump comes after the change), for the user
// bound as parameter n.
#define NEXT_VERSION(n) "(SELECT library_version + 1 FROM users WHERE id = ?" #n ")"

// Keeps the signs of phrases about to be deleted, so "changes since" can name them.
void rememberPhrase(std::uint64_t instance, std::int64_t userId, const std::string &sign) {
    Prepared q(instance, "INSERT INTO deleted_phrases(user_id, sign, version) SELECT ?1, sign, " NEXT_VERSION(
                             1) " FROM word_list WHERE user_id = ?1 AND sign = ?2");
    q->bind(1, userId);
    q->bind(2, sign);
    q->exec();
}

void rememberClass(std::uint64_t instance, std::int64_t userId, std::int64_t classId) {
    Prepared q(instance, "INSERT INTO deleted_phrases(user_id, sign, version) SELECT ?1, sign, " NEXT_VERSION(
                             1) " FROM word_list WHERE user_id = ?1 AND class_id = ?2");
    q->bind(1, userId);
    q->bind(2, classId);
    q->exec();
}

void bumpVersion(std::uint64_t instance, std::int64_t userId) {
    Prepared q(instance, "UPDATE users SET library_version = library_version + 1 WHERE id = ?");
    q->bind(1, userId);
    q->exec();
}

std::optional<std::int64_t> classId(std::uint64_t instance, std::int64_t userId, const std::string &sign) {
    Prepared q(instance, "SELECT id FROM word_class WHERE sign = ? AND user_id = ?");
    q->bind(1, sign);
    q->bind(2, userId);
    if (!q->executeStep())
        return std::nullopt;
    return q->getColumn(0).getInt64();
}

std::set<std::string> distinct(const std::vector<std::string> &signs) {
    return {signs.begin(), signs.end()};
}

// SQLite reports failures by throwing; they stop here and become the failure case.
template <typename Work> auto caught(Work &&work) -> StorageResult<std::invoke_result_t<Work>> {
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
            work();
            return {};
        } else {
            return work();
        }
    } catch (const SQLite::Exception &e) {
        return StorageError{e.what()};
    }
}

// Read by every process that serves the database (see watchChanges).
void leaveNotice(SQLite::Database &d, ChangeNotice::Kind kind, std::int64_t accountId) {
    SQLite::Statement q(d,
                        "INSERT INTO team_notices(kind, account_id, created_at) VALUES(?, ?, unixepoch())");
    q.bind(1, int(kind));
    q.bind(2, accountId);
    q.exec();
}

LoginGuardState readLoginGuard(SQLite::Database &d, const std::string &nameKey) {
    SQLite::Statement q(d, "SELECT failures, window_start, locked_until FROM login_guard WHERE name_key = ?");
    q.bind(1, nameKey);
    if (!q.executeStep())
        return {};
    return {q.getColumn(0).getInt64(), q.getColumn(1).getInt64(), q.getColumn(2).getInt64()};
}

std::optional<std::string> readPicture(SQLite::Database &d, const std::string &name) {
    SQLite::Statement q(d, "SELECT data FROM pictures WHERE name = ?");
    q.bind(1, name);
    if (!q.executeStep())
        return std::nullopt;
    const auto column = q.getColumn(0);
    return std::string(static_cast<const char *>(column.getBlob()), std::size_t(column.getBytes()));
}

} // namespace

template <typename Work> auto SqliteStorage::write(Work &&work) {
    return writeIf(std::forward<Work>(work), [](const auto &) { return true; });
}

template <typename Work, typename Keep> auto SqliteStorage::writeIf(Work &&work, Keep keep) {
    using T = std::invoke_result_t<Work, SQLite::Database &>;
    if constexpr (std::is_void_v<T>) {
        if (auto error = commitTogether([&](SQLite::Database &d) {
                work(d);
                return true;
            }))
            return StorageResult<void>(std::move(*error));
        return StorageResult<void>();
    } else {
        std::optional<T> value;
        if (auto error = commitTogether([&](SQLite::Database &d) {
                value = work(d);
                return keep(*value);
            }))
            return StorageResult<T>(std::move(*error));
        return StorageResult<T>(std::move(*value));
    }
}

std::optional<StorageError> SqliteStorage::commitTogether(const Change &change) {
    PendingWrite mine{&change, std::nullopt, false};
    std::unique_lock lock(groupMutex_);
    waiting_.push_back(&mine);
    while (!mine.done) {
        if (leading_) {
            groupDone_.wait(lock);
            continue;
        }
        // Whoever finds no group under way commits everything queued so far, its own change included.
        leading_ = true;
        auto group = std::exchange(waiting_, {});
        lock.unlock();
        const bool committed = commitGroup(group);
        lock.lock();
        // The next group may commit while this one's sync runs; one sync can then cover both.
        leading_ = false;
        groupDone_.notify_all();
        lock.unlock();
        const bool synced = !committed || syncLog();
        // Fast writers can fill the log between two rounds of the checkpoint thread.
        if (committed && walBytes() > walTruncateBytes) {
            checkpointDue_ = true;
            checkpointWake_.notify_all();
        }
        lock.lock();
        for (auto *w : group) {
            if (!synced && !w->error)
                w->error = StorageError{"syncing the write-ahead log failed"};
            w->done = true;
        }
        groupDone_.notify_all();
    }
    return std::move(mine.error);
}

bool SqliteStorage::commitGroup(const std::vector<PendingWrite *> &group) {
    std::lock_guard turn(writeMutex_);
    const auto failAll = [&](const std::string &why) {
        for (auto *w : group)
            if (!w->error)
                w->error = StorageError{why};
    };
    SQLite::Database *d = nullptr;
    try {
        d = &db();
        d->exec("BEGIN IMMEDIATE");
    } catch (const std::exception &e) {
        failAll(e.what());
        return false;
    }
    const auto abandon = [&](const std::string &why) {
        try {
            d->exec("ROLLBACK");
        } catch (const std::exception &) {
        }
        failAll(why);
        return false;
    };
    // Each change in a savepoint of its own: one that fails or refuses leaves the others standing.
    for (auto *w : group) {
        try {
            d->exec("SAVEPOINT change");
        } catch (const std::exception &e) {
            return abandon(e.what());
        }
        bool keep = false;
        try {
            keep = (*w->change)(*d);
        } catch (const std::exception &e) {
            w->error = StorageError{e.what()};
        } catch (...) {
            w->error = StorageError{"unexpected failure"};
        }
        try {
            if (!keep)
                d->exec("ROLLBACK TO change");
            d->exec("RELEASE change");
        } catch (const std::exception &e) {
            return abandon(e.what());
        }
    }
    try {
        d->exec("COMMIT");
    } catch (const std::exception &e) {
        return abandon(e.what());
    }
    return true;
}

bool SqliteStorage::syncLog() {
    if (walFd_ < 0)
        return true; // every connection syncs its own commits then
    std::unique_lock lock(syncMutex_);
    // Everything committed before this call is covered by any sync that starts after it.
    const auto mine = ++committed_;
    while (synced_ < mine) {
        if (syncing_) {
            syncDone_.wait(lock);
            continue;
        }
        syncing_ = true;
        const auto upTo = committed_;
        lock.unlock();
        const bool ok = ::fdatasync(walFd_) == 0;
        lock.lock();
        syncing_ = false;
        if (ok)
            synced_ = std::max(synced_, upTo);
        else
            ServiceLog::line(std::string("syncing the write-ahead log failed: ") + std::strerror(errno));
        syncDone_.notify_all();
        if (!ok)
            return false;
    }
    return true;
}

SqliteStorage::SqliteStorage(std::string path) : path_(std::move(path)), instance_(nextInstance++) {}

std::unique_ptr<SqliteStorage> SqliteStorage::open(const std::string &path, std::string &error) {
    std::unique_ptr<SqliteStorage> storage(new SqliteStorage(path));
    if (const auto started = caught([&] { storage->start(); }); !started.ok()) {
        error = started.error().message;
        return nullptr;
    }
    return storage;
}

void SqliteStorage::start() {
    migrate();
    // Opened once and kept. The log exists from the first read on and stays while any connection
    // is open (this thread's, opened above, lives as long as the storage).
    walFd_ = ::open((path_ + "-wal").c_str(), O_RDONLY | O_CLOEXEC);
    if (walFd_ >= 0)
        db().exec("PRAGMA synchronous = OFF");
    checkpointer_ = std::jthread([this](std::stop_token stop) { checkpointLoop(stop); });
}

SqliteStorage::~SqliteStorage() {
    watcher_.request_stop();
    checkpointer_.request_stop();
    checkpointWake_.notify_all();
    if (checkpointer_.joinable())
        checkpointer_.join();
    if (watcher_.joinable())
        watcher_.join();
    try {
        std::lock_guard lock(writeMutex_);
        db().exec("PRAGMA synchronous = FULL");
        db().exec("PRAGMA wal_checkpoint(TRUNCATE)");
    } catch (const std::exception &e) {
        ServiceLog::line(std::string("final checkpoint failed: ") + e.what());
    }
    connections.erase(instance_);
    if (walFd_ >= 0)
        ::close(walFd_);
}

std::int64_t SqliteStorage::walBytes() const {
    std::error_code ec;
    const auto size = std::filesystem::file_size(path_ + "-wal", ec);
    return ec ? 0 : std::int64_t(size);
}

void SqliteStorage::checkpointLoop(std::stop_token stop) {
    std::unique_ptr<SQLite::Database> db;
    // Checkpoints sync the log before copying it and the database before the log starts over.
    if (const auto opened = caught([&] {
            db = connect();
            db->exec("PRAGMA synchronous = FULL");
        });
        !opened.ok()) {
        ServiceLog::line("checkpoints stopped: " + opened.error().message);
        return;
    }
    while (!stop.stop_requested()) {
        {
            std::unique_lock lock(checkpointMutex_);
            checkpointWake_.wait_for(lock, stop, std::chrono::milliseconds(200),
                                     [this] { return checkpointDue_.exchange(false); });
        }
        if (stop.stop_requested())
            break;
        try {
            // Passive: copies what it can without holding up readers or writers. With
            // journal_size_limit the log file shrinks once a writer starts it over.
            db->exec("PRAGMA wal_checkpoint(PASSIVE)");
            if (walBytes() > walTruncateBytes) {
                // Readers kept the log from starting over; writers wait in line meanwhile.
                std::lock_guard lock(writeMutex_);
                db->exec("PRAGMA wal_checkpoint(TRUNCATE)");
            }
        } catch (const std::exception &e) {
            ServiceLog::line(std::string("checkpoint failed: ") + e.what());
        }
    }
}

std::unique_ptr<SQLite::Database> SqliteStorage::connect() const {
    auto db = std::make_unique<SQLite::Database>(path_, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE |
                                                            SQLite::OPEN_NOMUTEX);
    db->setBusyTimeout(10000);
    db->exec("PRAGMA journal_mode = WAL");
    // An acknowledged write is on disk. Commits made together share one sync of the log
    // (syncLog, after the write turn); without the log's descriptor each commit syncs it.
    db->exec(walFd_ >= 0 ? "PRAGMA synchronous = OFF" : "PRAGMA synchronous = FULL");
    db->exec("PRAGMA foreign_keys = ON");
    // One connection per worker: a small page cache each keeps their sum modest.
    db->exec("PRAGMA cache_size = -1024");
    // Reads map the file instead of copying its pages into every connection's cache.
    db->exec("PRAGMA mmap_size = " + std::to_string(std::int64_t(1) << 30));
    db->exec("PRAGMA wal_autocheckpoint = 0");
    db->exec("PRAGMA journal_size_limit = " + std::to_string(16 * 1024 * 1024));
    return db;
}

SQLite::Database &SqliteStorage::db() {
    auto &conn = connections[instance_];
    if (!conn.db)
        conn.db = connect();
    return *conn.db;
}

void SqliteStorage::migrate() {
    std::lock_guard lock(writeMutex_);
    auto &d = db();
    const int version = d.execAndGet("PRAGMA user_version").getInt();
    if (version >= schemaVersion)
        return;
    SQLite::Transaction t(d, SQLite::TransactionBehavior::IMMEDIATE);
    if (version < 1)
        d.exec(R"(
CREATE TABLE IF NOT EXISTS users (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  name_key TEXT NOT NULL UNIQUE,
  password_hash TEXT NOT NULL,
  library_version INTEGER NOT NULL DEFAULT 0);
CREATE TABLE IF NOT EXISTS sessions (
  token_digest TEXT PRIMARY KEY,
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  created_at INTEGER NOT NULL,
  last_used INTEGER NOT NULL);
CREATE INDEX IF NOT EXISTS sessions_user ON sessions(user_id);
CREATE TABLE IF NOT EXISTS login_guard (
  name_key TEXT PRIMARY KEY,
  failures INTEGER NOT NULL,
  window_start INTEGER NOT NULL,
  locked_until INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS word_class (
  id INTEGER PRIMARY KEY,
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  sign TEXT NOT NULL UNIQUE,
  label TEXT NOT NULL,
  position INTEGER NOT NULL);
CREATE INDEX IF NOT EXISTS word_class_user ON word_class(user_id, position);
CREATE TABLE IF NOT EXISTS word_list (
  id INTEGER PRIMARY KEY,
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  class_id INTEGER NOT NULL REFERENCES word_class(id) ON DELETE CASCADE,
  sign TEXT NOT NULL UNIQUE,
  label TEXT NOT NULL,
  json_value TEXT NOT NULL,
  texts TEXT NOT NULL,
  images TEXT NOT NULL,
  position INTEGER NOT NULL);
CREATE INDEX IF NOT EXISTS word_list_user ON word_list(user_id);
CREATE INDEX IF NOT EXISTS word_list_class ON word_list(class_id, position);
CREATE TABLE IF NOT EXISTS pictures (
  name TEXT PRIMARY KEY,
  data BLOB NOT NULL,
  created_at INTEGER NOT NULL);
)");
    // 2: who sent which picture (for quotas); indexes for the periodic purge.
    d.exec(R"(
CREATE TABLE IF NOT EXISTS picture_owners (
  name TEXT NOT NULL REFERENCES pictures(name) ON DELETE CASCADE,
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  PRIMARY KEY (name, user_id)) WITHOUT ROWID;
CREATE INDEX IF NOT EXISTS picture_owners_user ON picture_owners(user_id);
CREATE INDEX IF NOT EXISTS sessions_last_used ON sessions(last_used);
)");
    // 3: teams (library rows nobody signs in to) with members and usage; what changed in which
    // version, so a client can fetch only that. Versions before the upgrade are not known.
    if (version < 3)
        d.exec(R"(
ALTER TABLE users ADD COLUMN is_team INTEGER NOT NULL DEFAULT 0;
ALTER TABLE users ADD COLUMN changes_from INTEGER NOT NULL DEFAULT 0;
UPDATE users SET changes_from = library_version;
ALTER TABLE word_list ADD COLUMN changed_in INTEGER NOT NULL DEFAULT 0;
CREATE INDEX word_list_changed ON word_list(user_id, changed_in);
CREATE TABLE deleted_phrases (
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  sign TEXT NOT NULL,
  version INTEGER NOT NULL);
CREATE INDEX deleted_phrases_user ON deleted_phrases(user_id, version);
CREATE TABLE team_members (
  team_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  role INTEGER NOT NULL,
  PRIMARY KEY (team_id, user_id)) WITHOUT ROWID;
CREATE INDEX team_members_user ON team_members(user_id);
CREATE TABLE usage_batches (
  team_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  batch TEXT NOT NULL,
  received_at INTEGER NOT NULL,
  PRIMARY KEY (team_id, user_id, batch)) WITHOUT ROWID;
CREATE TABLE phrase_usage (
  team_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  sign TEXT NOT NULL,
  day INTEGER NOT NULL,
  sends INTEGER NOT NULL,
  PRIMARY KEY (team_id, sign, user_id, day)) WITHOUT ROWID;
CREATE TABLE team_notices (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  kind INTEGER NOT NULL,
  account_id INTEGER NOT NULL,
  created_at INTEGER NOT NULL);
)");
    d.exec("PRAGMA user_version = " + std::to_string(schemaVersion));
    t.commit();
}

StorageResult<StoreStatus> SqliteStorage::createUser(const std::string &name, const std::string &nameKey,
                                                     const std::string &passwordHash,
                                                     const std::string &firstClassSign,
                                                     const std::string &firstClassLabel) {
    return write([&](SQLite::Database &d) {
        SQLite::Statement exists(d, "SELECT 1 FROM users WHERE name_key = ?");
        exists.bind(1, nameKey);
        if (exists.executeStep())
            return StoreStatus::Exists;
        SQLite::Statement ins(d, "INSERT INTO users(name, name_key, password_hash) VALUES(?, ?, ?)");
        ins.bind(1, name);
        ins.bind(2, nameKey);
        ins.bind(3, passwordHash);
        ins.exec();
        const std::int64_t userId = d.getLastInsertRowid();
        SQLite::Statement cls(d, "INSERT INTO word_class(user_id, sign, label, position) VALUES(?, ?, ?, 0)");
        cls.bind(1, userId);
        cls.bind(2, firstClassSign);
        cls.bind(3, firstClassLabel);
        cls.exec();
        return StoreStatus::Ok;
    });
}

StorageResult<std::optional<UserRecord>> SqliteStorage::findUser(const std::string &nameKey) {
    return caught([&]() -> std::optional<UserRecord> {
        SQLite::Statement q(db(),
                            "SELECT id, name, password_hash FROM users WHERE name_key = ? AND is_team = 0");
        q.bind(1, nameKey);
        if (!q.executeStep())
            return std::nullopt;
        return UserRecord{q.getColumn(0).getInt64(), q.getColumn(1).getString(), q.getColumn(2).getString()};
    });
}

StorageResult<bool> SqliteStorage::setPasswordHash(std::int64_t userId, const std::string &passwordHash) {
    return write([&](SQLite::Database &d) {
        SQLite::Statement up(d, "UPDATE users SET password_hash = ? WHERE id = ? AND is_team = 0");
        up.bind(1, passwordHash);
        up.bind(2, userId);
        if (up.exec() != 1)
            return false;
        SQLite::Statement del(d, "DELETE FROM sessions WHERE user_id = ?");
        del.bind(1, userId);
        del.exec();
        // Its change streams end with its sessions.
        leaveNotice(d, ChangeNotice::Kind::Revoked, userId);
        return true;
    });
}

StorageResult<LoginGuardState> SqliteStorage::loginGuard(const std::string &nameKey) {
    return caught([&] { return readLoginGuard(db(), nameKey); });
}

StorageResult<LoginGuardState>
SqliteStorage::changeLoginGuard(const std::string &nameKey,
                                const std::function<LoginGuardState(LoginGuardState)> &change) {
    return write([&](SQLite::Database &d) {
        const auto state = change(readLoginGuard(d, nameKey));
        if (state.failures == 0 && state.lockedUntil == 0) {
            SQLite::Statement del(d, "DELETE FROM login_guard WHERE name_key = ?");
            del.bind(1, nameKey);
            del.exec();
        } else {
            SQLite::Statement up(d, "INSERT OR REPLACE INTO login_guard(name_key, failures, window_start, "
                                    "locked_until) VALUES(?, ?, ?, ?)");
            up.bind(1, nameKey);
            up.bind(2, state.failures);
            up.bind(3, state.windowStart);
            up.bind(4, state.lockedUntil);
            up.exec();
        }
        return state;
    });
}

StorageResult<void> SqliteStorage::createSession(const std::string &tokenDigest, std::int64_t userId,
                                                 std::int64_t now, bool revokeOthers) {
    return write([&](SQLite::Database &d) {
        if (revokeOthers) {
            SQLite::Statement del(d, "DELETE FROM sessions WHERE user_id = ?");
            del.bind(1, userId);
            del.exec();
        }
        SQLite::Statement ins(
            d, "INSERT INTO sessions(token_digest, user_id, created_at, last_used) VALUES(?, ?, ?, ?)");
        ins.bind(1, tokenDigest);
        ins.bind(2, userId);
        ins.bind(3, now);
        ins.bind(4, now);
        ins.exec();
    });
}

StorageResult<std::optional<UserRecord>> SqliteStorage::sessionUser(const std::string &tokenDigest,
                                                                    std::int64_t now, std::int64_t maxIdle) {
    UserRecord user;
    std::int64_t lastUsed = 0;
    const auto found = caught([&] {
        db();
        Prepared q(instance_,
                   "SELECT u.id, u.name, s.last_used FROM sessions s JOIN users u ON u.id = s.user_id "
                   "WHERE s.token_digest = ?");
        q->bind(1, tokenDigest);
        if (!q->executeStep())
            return false;
        user = {q->getColumn(0).getInt64(), q->getColumn(1).getString(), {}};
        lastUsed = q->getColumn(2).getInt64();
        return true;
    });
    if (!found.ok())
        return found.error();
    if (!*found)
        return std::optional<UserRecord>();
    if (now - lastUsed > maxIdle) {
        if (const auto deleted = deleteSession(tokenDigest); !deleted.ok())
            return deleted.error();
        return std::optional<UserRecord>();
    }
    // Refreshing at most once a minute keeps reads from turning into writes.
    if (now - lastUsed >= 60) {
        const auto refreshed = write([&](SQLite::Database &d) {
            SQLite::Statement up(d, "UPDATE sessions SET last_used = ? WHERE token_digest = ?");
            up.bind(1, now);
            up.bind(2, tokenDigest);
            up.exec();
        });
        if (!refreshed.ok())
            return refreshed.error();
    }
    return std::optional<UserRecord>(std::move(user));
}

StorageResult<void> SqliteStorage::deleteSession(const std::string &tokenDigest) {
    return write([&](SQLite::Database &d) {
        SQLite::Statement del(d, "DELETE FROM sessions WHERE token_digest = ?");
        del.bind(1, tokenDigest);
        del.exec();
    });
}

StorageResult<void> SqliteStorage::purgeExpired(std::int64_t sessionsUsedBefore, std::int64_t guardsBefore) {
    return write([&](SQLite::Database &d) {
        SQLite::Statement sessions(d, "DELETE FROM sessions WHERE last_used < ?");
        sessions.bind(1, sessionsUsedBefore);
        sessions.exec();
        SQLite::Statement guards(d, "DELETE FROM login_guard WHERE window_start < ? AND locked_until < ?");
        guards.bind(1, guardsBefore);
        guards.bind(2, guardsBefore);
        guards.exec();
        SQLite::Statement notices(d, "DELETE FROM team_notices WHERE created_at < ?");
        notices.bind(1, guardsBefore);
        notices.exec();
        // A client retries a lost usage batch within days, not weeks.
        SQLite::Statement batches(d, "DELETE FROM usage_batches WHERE received_at < ?");
        batches.bind(1, sessionsUsedBefore);
        batches.exec();
    });
}

StorageResult<std::int64_t> SqliteStorage::libraryVersion(std::int64_t userId) {
    return caught([&] {
        db();
        Prepared q(instance_, "SELECT library_version FROM users WHERE id = ?");
        q->bind(1, userId);
        return q->executeStep() ? q->getColumn(0).getInt64() : std::int64_t(-1);
    });
}

StorageResult<std::vector<ClassRecord>> SqliteStorage::classes(std::int64_t userId) {
    return caught([&] {
        SQLite::Statement q(db(), "SELECT id, sign, label, position FROM word_class WHERE user_id = ? "
                                  "ORDER BY position, id");
        q.bind(1, userId);
        std::vector<ClassRecord> out;
        while (q.executeStep())
            out.push_back({q.getColumn(0).getInt64(), q.getColumn(1).getString(), q.getColumn(2).getString(),
                           q.getColumn(3).getInt64()});
        return out;
    });
}

StorageResult<std::vector<PhraseRecord>> SqliteStorage::phrases(std::int64_t userId) {
    return caught([&] {
        SQLite::Statement q(
            db(), "SELECT l.id, c.sign, l.sign, l.label, l.json_value, l.texts, l.images, l.position "
                  "FROM word_list l JOIN word_class c ON c.id = l.class_id WHERE l.user_id = ? "
                  "ORDER BY c.position, c.id, l.position, l.id");
        q.bind(1, userId);
        std::vector<PhraseRecord> out;
        while (q.executeStep())
            out.push_back({q.getColumn(0).getInt64(), q.getColumn(1).getString(), q.getColumn(2).getString(),
                           q.getColumn(3).getString(), q.getColumn(4).getString(), q.getColumn(5).getString(),
                           q.getColumn(6).getString(), q.getColumn(7).getInt64()});
        return out;
    });
}

StorageResult<StoreStatus>
SqliteStorage::changeLibrary(std::int64_t userId,
                             const std::function<StoreStatus(SQLite::Database &)> &change) {
    return writeIf(
        [&](SQLite::Database &d) {
            const StoreStatus status = change(d);
            if (status == StoreStatus::Ok)
                bumpVersion(instance_, userId);
            return status;
        },
        [](StoreStatus status) { return status == StoreStatus::Ok; });
}

StorageResult<StoreStatus> SqliteStorage::createClass(std::int64_t userId, const std::string &sign,
                                                      const std::string &label, std::int64_t position) {
    return changeLibrary(userId, [&](SQLite::Database &) {
        Prepared ins(instance_, "INSERT INTO word_class(user_id, sign, label, position) VALUES(?, ?, ?, ?)");
        ins->bind(1, userId);
        ins->bind(2, sign);
        ins->bind(3, label);
        ins->bind(4, position);
        ins->exec();
        return StoreStatus::Ok;
    });
}

StorageResult<StoreStatus> SqliteStorage::deleteClasses(std::int64_t userId,
                                                        const std::vector<std::string> &signs) {
    return changeLibrary(userId, [&](SQLite::Database &) {
        const auto unique = distinct(signs);
        std::vector<std::int64_t> ids;
        for (const auto &sign : unique) {
            const auto id = classId(instance_, userId, sign);
            if (!id)
                return StoreStatus::NotFound;
            ids.push_back(*id);
        }
        {
            Prepared count(instance_, "SELECT COUNT(*) FROM word_class WHERE user_id = ?");
            count->bind(1, userId);
            count->executeStep();
            if (count->getColumn(0).getInt64() <= std::int64_t(ids.size()))
                return StoreStatus::LastClass;
        }
        Prepared del(instance_, "DELETE FROM word_class WHERE id = ?");
        for (const auto id : ids) {
            rememberClass(instance_, userId, id);
            del->bind(1, id);
            del->exec();
            del->reset();
        }
        return StoreStatus::Ok;
    });
}

StorageResult<StoreStatus> SqliteStorage::setClassLabel(std::int64_t userId, const std::string &sign,
                                                        const std::string &label) {
    return changeLibrary(userId, [&](SQLite::Database &) {
        Prepared up(instance_, "UPDATE word_class SET label = ? WHERE sign = ? AND user_id = ?");
        up->bind(1, label);
        up->bind(2, sign);
        up->bind(3, userId);
        if (up->exec() != 1)
            return StoreStatus::NotFound;
        return StoreStatus::Ok;
    });
}

StorageResult<StoreStatus> SqliteStorage::swapRows(bool classes, std::int64_t userId,
                                                   const std::string &sign1, const std::string &sign2) {
    return changeLibrary(userId, [&](SQLite::Database &) {
        std::int64_t positions[2];
        const std::string *signs[2] = {&sign1, &sign2};
        for (int i = 0; i < 2; ++i) {
            Prepared q(instance_, classes ? "SELECT position FROM word_class WHERE sign = ? AND user_id = ?"
                                          : "SELECT position FROM word_list WHERE sign = ? AND user_id = ?");
            q->bind(1, *signs[i]);
            q->bind(2, userId);
            if (!q->executeStep())
                return StoreStatus::NotFound;
            positions[i] = q->getColumn(0).getInt64();
        }
        Prepared up(instance_, classes ? "UPDATE word_class SET position = ? WHERE sign = ? AND user_id = ?"
                                       : "UPDATE word_list SET position = ?1, changed_in = " NEXT_VERSION(
                                             3) " WHERE sign = ?2 AND user_id = ?3");
        for (int i = 0; i < 2; ++i) {
            up->bind(1, positions[1 - i]);
            up->bind(2, *signs[i]);
            up->bind(3, userId);
            up->exec();
            up->reset();
        }
        return StoreStatus::Ok;
    });
}

StorageResult<StoreStatus> SqliteStorage::swapClasses(std::int64_t userId, const std::string &sign1,
                                                      const std::string &sign2) {
    return swapRows(true, userId, sign1, sign2);
}

StorageResult<StoreStatus> SqliteStorage::createPhrase(std::int64_t userId, const PhraseRecord &record) {
    return changeLibrary(userId, [&](SQLite::Database &) {
        const auto parent = classId(instance_, userId, record.parentSign);
        if (!parent)
            return StoreStatus::NotFound;
        Prepared ins(instance_,
                     "INSERT INTO word_list(user_id, class_id, sign, label, json_value, texts, images, "
                     "position, changed_in) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, " NEXT_VERSION(1) ")");
        ins->bind(1, userId);
        ins->bind(2, *parent);
        ins->bind(3, record.sign);
        ins->bind(4, record.label);
        ins->bind(5, record.jsonValue);
        ins->bind(6, record.texts);
        ins->bind(7, record.images);
        ins->bind(8, record.position);
        ins->exec();
        return StoreStatus::Ok;
    });
}

StorageResult<StoreStatus> SqliteStorage::deletePhrases(std::int64_t userId,
                                                        const std::vector<std::string> &signs) {
    return changeLibrary(userId, [&](SQLite::Database &) {
        Prepared del(instance_, "DELETE FROM word_list WHERE sign = ? AND user_id = ?");
        for (const auto &sign : distinct(signs)) {
            rememberPhrase(instance_, userId, sign);
            del->bind(1, sign);
            del->bind(2, userId);
            if (del->exec() != 1)
                return StoreStatus::NotFound; // rolled back with the transaction
            del->reset();
        }
        return StoreStatus::Ok;
    });
}

StorageResult<StoreStatus> SqliteStorage::updatePhrase(std::int64_t userId, const PhraseRecord &record) {
    return changeLibrary(userId, [&](SQLite::Database &) {
        const auto parent = classId(instance_, userId, record.parentSign);
        if (!parent)
            return StoreStatus::NotFound;
        Prepared up(instance_,
                    "UPDATE word_list SET class_id = ?, label = ?, json_value = ?, texts = ?, "
                    "images = ?, changed_in = " NEXT_VERSION(7) " WHERE sign = ?6 AND user_id = ?7");
        up->bind(1, *parent);
        up->bind(2, record.label);
        up->bind(3, record.jsonValue);
        up->bind(4, record.texts);
        up->bind(5, record.images);
        up->bind(6, record.sign);
        up->bind(7, userId);
        if (up->exec() != 1)
            return StoreStatus::NotFound;
        return StoreStatus::Ok;
    });
}

StorageResult<StoreStatus> SqliteStorage::swapPhrases(std::int64_t userId, const std::string &sign1,
                                                      const std::string &sign2) {
    return swapRows(false, userId, sign1, sign2);
}

StorageResult<bool> SqliteStorage::pictureExists(const std::string &name) {
    return caught([&] {
        SQLite::Statement q(db(), "SELECT 1 FROM pictures WHERE name = ?");
        q.bind(1, name);
        return q.executeStep();
    });
}

StorageResult<std::optional<std::string>> SqliteStorage::picture(const std::string &name) {
    return caught([&] { return readPicture(db(), name); });
}

StorageResult<StoreStatus> SqliteStorage::storePicture(const std::string &name, const std::string &bytes,
                                                       std::int64_t now, std::int64_t ownerId) {
    return write([&](SQLite::Database &d) {
        auto status = StoreStatus::Ok;
        if (const auto existing = readPicture(d, name)) {
            if (*existing != bytes)
                return StoreStatus::DifferentBytes;
            status = StoreStatus::Exists;
        } else {
            SQLite::Statement ins(d, "INSERT INTO pictures(name, data, created_at) VALUES(?, ?, ?)");
            ins.bind(1, name);
            ins.bind(2, bytes.data(), int(bytes.size()));
            ins.bind(3, now);
            ins.exec();
        }
        SQLite::Statement own(d, "INSERT OR IGNORE INTO picture_owners(name, user_id) VALUES(?, ?)");
        own.bind(1, name);
        own.bind(2, ownerId);
        own.exec();
        return status;
    });
}

StorageResult<std::int64_t> SqliteStorage::storageUsed(std::int64_t userId) {
    return caught([&] {
        db();
        Prepared q(
            instance_,
            "SELECT (SELECT COALESCE(SUM(length(CAST(label AS BLOB)) + length(CAST(json_value AS BLOB))), "
            "0) FROM word_list WHERE user_id = ?1) + (SELECT COALESCE(SUM(length(p.data)), 0) "
            "FROM picture_owners o JOIN pictures p ON p.name = o.name WHERE o.user_id = ?1)");
        q->bind(1, userId);
        return q->executeStep() ? q->getColumn(0).getInt64() : std::int64_t(0);
    });
}

namespace {

std::optional<TeamRole> memberRole(SQLite::Database &d, std::int64_t teamId, std::int64_t userId) {
    SQLite::Statement q(d, "SELECT role FROM team_members WHERE team_id = ? AND user_id = ?");
    q.bind(1, teamId);
    q.bind(2, userId);
    if (!q.executeStep())
        return std::nullopt;
    return TeamRole(q.getColumn(0).getInt());
}

bool lastOwner(SQLite::Database &d, std::int64_t teamId, std::int64_t userId) {
    SQLite::Statement q(d,
                        "SELECT COUNT(*) FROM team_members WHERE team_id = ? AND role = ? AND user_id <> ?");
    q.bind(1, teamId);
    q.bind(2, int(TeamRole::Owner));
    q.bind(3, userId);
    q.executeStep();
    return q.getColumn(0).getInt64() == 0;
}

std::vector<PhraseRecord> readPhrases(SQLite::Statement &q) {
    std::vector<PhraseRecord> out;
    while (q.executeStep())
        out.push_back({q.getColumn(0).getInt64(), q.getColumn(1).getString(), q.getColumn(2).getString(),
                       q.getColumn(3).getString(), q.getColumn(4).getString(), q.getColumn(5).getString(),
                       q.getColumn(6).getString(), q.getColumn(7).getInt64()});
    return out;
}

} // namespace

StorageResult<StoreStatus> SqliteStorage::createTeam(const std::string &name, const std::string &nameKey,
                                                     std::int64_t ownerId, const std::string &firstClassSign,
                                                     const std::string &firstClassLabel) {
    return writeIf(
        [&](SQLite::Database &d) {
            SQLite::Statement exists(d, "SELECT 1 FROM users WHERE name_key = ?");
            exists.bind(1, nameKey);
            if (exists.executeStep())
                return StoreStatus::Exists;
            SQLite::Statement owner(d, "SELECT 1 FROM users WHERE id = ? AND is_team = 0");
            owner.bind(1, ownerId);
            if (!owner.executeStep())
                return StoreStatus::NotFound;
            SQLite::Statement ins(
                d, "INSERT INTO users(name, name_key, password_hash, is_team, library_version) "
                   "VALUES(?, ?, '', 1, 1)");
            ins.bind(1, name);
            ins.bind(2, nameKey);
            ins.exec();
            const std::int64_t teamId = d.getLastInsertRowid();
            SQLite::Statement cls(
                d, "INSERT INTO word_class(user_id, sign, label, position) VALUES(?, ?, ?, 0)");
            cls.bind(1, teamId);
            cls.bind(2, firstClassSign);
            cls.bind(3, firstClassLabel);
            cls.exec();
            SQLite::Statement member(d, "INSERT INTO team_members(team_id, user_id, role) VALUES(?, ?, ?)");
            member.bind(1, teamId);
            member.bind(2, ownerId);
            member.bind(3, int(TeamRole::Owner));
            member.exec();
            leaveNotice(d, ChangeNotice::Kind::Libraries, ownerId);
            return StoreStatus::Ok;
        },
        [](StoreStatus status) { return status == StoreStatus::Ok; });
}

StorageResult<StoreStatus> SqliteStorage::deleteTeam(std::int64_t teamId) {
    return writeIf(
        [&](SQLite::Database &d) {
            SQLite::Statement members(d, "SELECT user_id FROM team_members WHERE team_id = ?");
            members.bind(1, teamId);
            while (members.executeStep())
                leaveNotice(d, ChangeNotice::Kind::Revoked, members.getColumn(0).getInt64());
            SQLite::Statement del(d, "DELETE FROM users WHERE id = ? AND is_team = 1");
            del.bind(1, teamId);
            return del.exec() == 1 ? StoreStatus::Ok : StoreStatus::NotFound;
        },
        [](StoreStatus status) { return status == StoreStatus::Ok; });
}

StorageResult<std::optional<TeamRecord>> SqliteStorage::team(const std::string &nameKey) {
    return caught([&]() -> std::optional<TeamRecord> {
        SQLite::Statement q(db(), "SELECT id, name FROM users WHERE name_key = ? AND is_team = 1");
        q.bind(1, nameKey);
        if (!q.executeStep())
            return std::nullopt;
        TeamRecord team{q.getColumn(0).getInt64(), q.getColumn(1).getString(), {}};
        SQLite::Statement m(db(), "SELECT u.id, u.name, m.role FROM team_members m JOIN users u ON u.id = "
                                  "m.user_id WHERE m.team_id = ? ORDER BY m.role DESC, u.name_key");
        m.bind(1, team.id);
        while (m.executeStep())
            team.members.push_back(
                {m.getColumn(0).getInt64(), m.getColumn(1).getString(), TeamRole(m.getColumn(2).getInt())});
        return team;
    });
}

StorageResult<std::vector<TeamRecord>> SqliteStorage::teams() {
    return caught([&] {
        std::vector<TeamRecord> out;
        SQLite::Statement q(db(),
                            "SELECT t.id, t.name, u.id, u.name, m.role FROM users t LEFT JOIN team_members m "
                            "ON m.team_id = t.id LEFT JOIN users u ON u.id = m.user_id WHERE t.is_team = 1 "
                            "ORDER BY t.name_key, t.id, m.role DESC, u.name_key");
        while (q.executeStep()) {
            const auto id = q.getColumn(0).getInt64();
            if (out.empty() || out.back().id != id)
                out.push_back({id, q.getColumn(1).getString(), {}});
            if (!q.getColumn(2).isNull())
                out.back().members.push_back({q.getColumn(2).getInt64(), q.getColumn(3).getString(),
                                              TeamRole(q.getColumn(4).getInt())});
        }
        return out;
    });
}

StorageResult<StoreStatus> SqliteStorage::setMember(std::int64_t teamId, std::int64_t userId, TeamRole role,
                                                    bool add) {
    return writeIf(
        [&](SQLite::Database &d) {
            SQLite::Statement account(d, "SELECT 1 FROM users WHERE id = ? AND is_team = 0");
            account.bind(1, userId);
            if (!account.executeStep())
                return StoreStatus::NotFound;
            const auto current = memberRole(d, teamId, userId);
            if (add == current.has_value())
                return add ? StoreStatus::Exists : StoreStatus::NotFound;
            if (current && *current == TeamRole::Owner && role != TeamRole::Owner &&
                lastOwner(d, teamId, userId))
                return StoreStatus::LastOwner;
            SQLite::Statement up(
                d, "INSERT OR REPLACE INTO team_members(team_id, user_id, role) VALUES(?, ?, ?)");
            up.bind(1, teamId);
            up.bind(2, userId);
            up.bind(3, int(role));
            up.exec();
            if (!current || *current != role)
                leaveNotice(d,
                            current && role < *current ? ChangeNotice::Kind::Revoked
                                                       : ChangeNotice::Kind::Libraries,
                            userId);
            return StoreStatus::Ok;
        },
        [](StoreStatus status) { return status == StoreStatus::Ok; });
}

StorageResult<StoreStatus> SqliteStorage::removeMember(std::int64_t teamId, std::int64_t userId) {
    return writeIf(
        [&](SQLite::Database &d) {
            const auto current = memberRole(d, teamId, userId);
            if (!current)
                return StoreStatus::NotFound;
            if (*current == TeamRole::Owner && lastOwner(d, teamId, userId))
                return StoreStatus::LastOwner;
            SQLite::Statement del(d, "DELETE FROM team_members WHERE team_id = ? AND user_id = ?");
            del.bind(1, teamId);
            del.bind(2, userId);
            del.exec();
            leaveNotice(d, ChangeNotice::Kind::Revoked, userId);
            return StoreStatus::Ok;
        },
        [](StoreStatus status) { return status == StoreStatus::Ok; });
}

StorageResult<std::vector<LibraryGrant>> SqliteStorage::libraries(std::int64_t userId) {
    return caught([&] {
        std::vector<LibraryGrant> out;
        SQLite::Statement own(db(),
                              "SELECT id, name, library_version FROM users WHERE id = ? AND is_team = 0");
        own.bind(1, userId);
        if (!own.executeStep())
            return out;
        out.push_back({own.getColumn(0).getInt64(), own.getColumn(1).getString(), false, TeamRole::Owner,
                       own.getColumn(2).getInt64()});
        SQLite::Statement q(db(),
                            "SELECT t.id, t.name, m.role, t.library_version FROM team_members m JOIN users t "
                            "ON t.id = m.team_id WHERE m.user_id = ? ORDER BY t.name_key");
        q.bind(1, userId);
        while (q.executeStep())
            out.push_back({q.getColumn(0).getInt64(), q.getColumn(1).getString(), true,
                           TeamRole(q.getColumn(2).getInt()), q.getColumn(3).getInt64()});
        return out;
    });
}

StorageResult<std::optional<LibraryGrant>> SqliteStorage::library(std::int64_t userId,
                                                                  const std::string &nameKey) {
    return caught([&]() -> std::optional<LibraryGrant> {
        db();
        Prepared q(instance_,
                   "SELECT t.id, t.name, t.is_team, COALESCE(m.role, 3), t.library_version FROM users t "
                   "LEFT JOIN team_members m ON m.team_id = t.id AND m.user_id = ?1 "
                   "WHERE t.name_key = ?2 AND (t.id = ?1 OR m.role IS NOT NULL)");
        q->bind(1, userId);
        q->bind(2, nameKey);
        if (!q->executeStep())
            return std::nullopt;
        return LibraryGrant{q->getColumn(0).getInt64(), q->getColumn(1).getString(),
                            q->getColumn(2).getInt() != 0, TeamRole(q->getColumn(3).getInt()),
                            q->getColumn(4).getInt64()};
    });
}

StorageResult<LibraryChanges> SqliteStorage::changesSince(std::int64_t libraryId, std::int64_t since) {
    return caught([&] {
        auto &d = db();
        // One snapshot: the version and the rows it stands for.
        SQLite::Transaction snapshot(d, SQLite::TransactionBehavior::DEFERRED);
        LibraryChanges out;
        SQLite::Statement v(d, "SELECT library_version, changes_from FROM users WHERE id = ?");
        v.bind(1, libraryId);
        if (!v.executeStep())
            return out;
        out.version = v.getColumn(0).getInt64();
        out.full = since < v.getColumn(1).getInt64() || since > out.version;
        SQLite::Statement c(d, "SELECT id, sign, label, position FROM word_class WHERE user_id = ? "
                               "ORDER BY position, id");
        c.bind(1, libraryId);
        while (c.executeStep())
            out.classes.push_back({c.getColumn(0).getInt64(), c.getColumn(1).getString(),
                                   c.getColumn(2).getString(), c.getColumn(3).getInt64()});
        SQLite::Statement p(
            d, "SELECT l.id, c.sign, l.sign, l.label, l.json_value, l.texts, l.images, l.position "
               "FROM word_list l JOIN word_class c ON c.id = l.class_id WHERE l.user_id = ? "
               "AND l.changed_in > ? ORDER BY c.position, c.id, l.position, l.id");
        p.bind(1, libraryId);
        p.bind(2, out.full ? std::int64_t(-1) : since);
        out.phrases = readPhrases(p);
        if (!out.full) {
            SQLite::Statement del(
                d, "SELECT DISTINCT sign FROM deleted_phrases WHERE user_id = ? AND version > ?");
            del.bind(1, libraryId);
            del.bind(2, since);
            while (del.executeStep())
                out.deleted.push_back(del.getColumn(0).getString());
        }
        snapshot.commit();
        return out;
    });
}

StorageResult<StoreStatus>
SqliteStorage::recordUsage(std::int64_t teamId, std::int64_t userId, const std::string &batch,
                           std::int64_t day, const std::vector<std::pair<std::string, std::int64_t>> &counts,
                           std::int64_t now) {
    return write([&](SQLite::Database &d) {
        SQLite::Statement seen(d, "INSERT OR IGNORE INTO usage_batches(team_id, user_id, batch, received_at) "
                                  "VALUES(?, ?, ?, ?)");
        seen.bind(1, teamId);
        seen.bind(2, userId);
        seen.bind(3, batch);
        seen.bind(4, now);
        if (seen.exec() == 0)
            return StoreStatus::Exists;
        SQLite::Statement add(
            d, "INSERT INTO phrase_usage(team_id, user_id, sign, day, sends) SELECT ?1, ?2, ?3, ?4, ?5 "
               "WHERE EXISTS (SELECT 1 FROM word_list WHERE sign = ?3 AND user_id = ?1) "
               "ON CONFLICT(team_id, sign, user_id, day) DO UPDATE SET sends = sends + excluded.sends");
        for (const auto &[sign, sends] : counts) {
            add.bind(1, teamId);
            add.bind(2, userId);
            add.bind(3, sign);
            add.bind(4, day);
            add.bind(5, sends);
            add.exec();
            add.reset();
        }
        return StoreStatus::Ok;
    });
}

StorageResult<TeamUsage> SqliteStorage::teamUsage(std::int64_t teamId, std::int64_t fromDay) {
    return caught([&] {
        auto &d = db();
        SQLite::Transaction snapshot(d, SQLite::TransactionBehavior::DEFERRED);
        TeamUsage out;
        SQLite::Statement p(
            d, "SELECT l.sign, l.label, c.label, COALESCE(SUM(CASE WHEN u.day >= ?2 THEN u.sends END), 0), "
               "COALESCE(MAX(u.day), -1) FROM word_list l JOIN word_class c ON c.id = l.class_id "
               "LEFT JOIN phrase_usage u ON u.team_id = l.user_id AND u.sign = l.sign "
               "WHERE l.user_id = ?1 GROUP BY l.id ORDER BY c.position, c.id, l.position, l.id");
        p.bind(1, teamId);
        p.bind(2, fromDay);
        while (p.executeStep())
            out.phrases.push_back({p.getColumn(0).getString(), p.getColumn(1).getString(),
                                   p.getColumn(2).getString(), p.getColumn(3).getInt64(),
                                   p.getColumn(4).getInt64()});
        SQLite::Statement m(
            d, "SELECT a.name, m.role, COALESCE(SUM(CASE WHEN u.day >= ?2 THEN u.sends END), 0), "
               "COALESCE(SUM(u.sends), 0) FROM team_members m JOIN users a ON a.id = m.user_id "
               "LEFT JOIN phrase_usage u ON u.team_id = m.team_id AND u.user_id = m.user_id "
               "WHERE m.team_id = ?1 GROUP BY m.user_id ORDER BY a.name_key");
        m.bind(1, teamId);
        m.bind(2, fromDay);
        while (m.executeStep())
            out.members.push_back({m.getColumn(0).getString(), TeamRole(m.getColumn(1).getInt()),
                                   m.getColumn(2).getInt64(), m.getColumn(3).getInt64()});
        snapshot.commit();
        return out;
    });
}

void SqliteStorage::watchChanges(std::function<void(const ChangeNotice &)> listener) {
    watcher_ = std::jthread(); // stops the one before
    if (!listener)
        return;
    // Commands run beside the service write here too; a look every 200 ms is cheap in one file.
    watcher_ = std::jthread([this, listener = std::move(listener)](std::stop_token stop) {
        std::unique_ptr<SQLite::Database> d;
        std::int64_t last = 0;
        bool started = false;
        while (!stop.stop_requested()) {
            try {
                if (!d)
                    d = connect();
                if (!started) {
                    last = d->execAndGet("SELECT COALESCE(MAX(id), 0) FROM team_notices").getInt64();
                    started = true;
                }
                SQLite::Statement q(*d,
                                    "SELECT id, kind, account_id FROM team_notices WHERE id > ? ORDER BY id");
                q.bind(1, last);
                std::vector<ChangeNotice> notices;
                while (q.executeStep()) {
                    last = q.getColumn(0).getInt64();
                    notices.push_back(
                        {ChangeNotice::Kind(q.getColumn(1).getInt()), q.getColumn(2).getInt64(), 0});
                }
                q.reset();
                for (const auto &notice : notices)
                    listener(notice);
            } catch (const std::exception &e) {
                ServiceLog::line(std::string("reading team notices failed: ") + e.what());
                d.reset();
            }
            std::unique_lock lock(checkpointMutex_);
            checkpointWake_.wait_for(lock, stop, std::chrono::milliseconds(200), [] { return false; });
        }
    });
}
