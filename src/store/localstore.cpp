#include "store/localstore.h"

#include "model/logging.h"
#include "store/likematch.h"
#include "store/localpath.h"

#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Transaction.h>

namespace {

// Tuning that leaves every result unchanged:
// - WAL lets a write commit with one append instead of rewriting a rollback journal, and readers
//   never block on a writer;
// - synchronous=NORMAL drops the fsync on each commit (a power cut may lose the last commits, never
//   corrupt the file); the service holds the master copy and start-up sync rewrites the library;
// - plain keystrokes search the in-memory copy, so the page cache stays small and reads are not
//   memory-mapped: a mapped file counts as resident memory for every page a scan once touched;
// - LIKE is our own matcher with the built-in results; it turns "%word%" into a substring search;
// - a short busy timeout rides out a second instance holding the write lock for a moment.
void tune(SQLite::Database &db) {
    db.tryExec("PRAGMA journal_mode=WAL");
    db.tryExec("PRAGMA synchronous=NORMAL");
    db.tryExec("PRAGMA cache_size=-2048");
    db.tryExec("PRAGMA mmap_size=0");
    db.setBusyTimeout(2000);
    installLike(db.getHandle());
}

} // namespace

LocalStore::LocalStore(QString path) : path_(std::move(path)) {}

QString LocalStore::defaultPath() {
    return LocalPath::sqliteDir() + QStringLiteral("/database.sqlite3");
}

Result<void> LocalStore::open() {
    try {
        db_.emplace(path_.toStdString(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        // opening is lazy: read the schema now so that a file that is not a database is reported here
        db_->execAndGet("SELECT count(*) FROM sqlite_master");
        tune(*db_);
    } catch (const std::exception &e) {
        db_.reset();
        const QString error = QStringLiteral("无法打开数据库 %1：%2").arg(path_, QString::fromUtf8(e.what()));
        qCWarning(lcStore, "%s", qUtf8Printable(error));
        return Result<void>::failure(error);
    }
    createTable("CREATE TABLE IF NOT EXISTS \"word_class\" ("
                "\"id\" INTEGER PRIMARY KEY NOT NULL, "
                "\"sign\" TEXT NOT NULL, "
                "\"label\" TEXT NOT NULL, "
                "\"position\" INTEGER NOT NULL, "
                "\"username\" TEXT NOT NULL)");
    createTable("CREATE TABLE IF NOT EXISTS \"Word_list\" ("
                "\"id\" INTEGER PRIMARY KEY NOT NULL, "
                "\"parentSign\" TEXT NOT NULL, "
                "\"sign\" TEXT NOT NULL, "
                "\"label\" TEXT NOT NULL, "
                "\"texts\" TEXT NOT NULL, "
                "\"images\" TEXT NOT NULL, "
                "\"jsonValue\" TEXT NOT NULL, "
                "\"position\" INTEGER NOT NULL, "
                "\"username\" TEXT NOT NULL)");
    return Result<void>::success();
}

void LocalStore::createTable(const char *sql) {
    try {
        db_->exec(sql);
    } catch (const std::exception &e) {
        qCWarning(lcStore, "cannot create a table: %s", e.what());
    }
}

int LocalStore::changes(const char *sql, const std::function<void(SQLite::Statement &)> &bind) {
    SQLite::Database *db = connection();
    if (!db)
        return 0;
    try {
        SQLite::Statement statement(*db, sql);
        bind(statement);
        return statement.exec();
    } catch (const std::exception &e) {
        qCWarning(lcStore, "statement failed: %s", e.what());
        return 0;
    }
}

bool LocalStore::changesLogged(const char *what, const char *sql,
                               const std::function<void(SQLite::Statement &)> &bind) {
    const int n = changes(sql, bind);
    qCDebug(lcStore, "%s: %d rows", what, n);
    return n > 0;
}

bool LocalStore::insertOne(const char *sql, const QString &sign,
                           const std::function<void(SQLite::Statement &)> &bind) {
    SQLite::Database *db = connection();
    if (!db) {
        qCWarning(lcStore, "insert failed: no database");
        return false;
    }
    try {
        SQLite::Statement insert(*db, sql);
        bind(insert);
        insert.exec();
        qCDebug(lcStore, "inserted row %lld, sign %s", qlonglong(db->getLastInsertRowid()),
                qUtf8Printable(sign));
        return true;
    } catch (const std::exception &e) {
        qCWarning(lcStore, "insert failed: %s", e.what());
        return false;
    }
}

bool LocalStore::replaceAllOf(const char *table, const QString &username, const char *insertSql,
                              int usernameIndex, qsizetype count,
                              const std::function<void(SQLite::Statement &, qsizetype)> &bindRow) {
    SQLite::Database *db = connection();
    if (!db) {
        qCWarning(lcStore, "writing %s failed: no database", table);
        return false;
    }
    try {
        SQLite::Transaction transaction(*db, SQLite::TransactionBehavior::IMMEDIATE);
        SQLite::Statement remove(*db, std::string("DELETE FROM ") + table + " WHERE username = (?)");
        bindText(remove, 1, username);
        remove.exec();
        SQLite::Statement insert(*db, insertSql);
        bindText(insert, usernameIndex, username);
        for (qsizetype i = 0; i < count; ++i) {
            bindRow(insert, i);
            insert.exec();
            insert.reset();
        }
        transaction.commit();
        qCDebug(lcStore, "wrote %lld rows of %s for %s", qlonglong(count), table, qUtf8Printable(username));
        return true;
    } catch (const std::exception &e) {
        qCWarning(lcStore, "writing %s failed: %s", table, e.what());
        return false;
    }
}

qint64 LocalStore::nextPosition(const char *sql, const QString &key) {
    SQLite::Database *db = connection();
    if (!db)
        return 0;
    try {
        SQLite::Statement max(*db, sql);
        bindText(max, 1, key);
        if (!max.executeStep() || max.getColumn(0).isNull())
            return 0;
        return max.getColumn(0).getInt64() + 1;
    } catch (const std::exception &e) {
        logQueryFailure(e);
        return 0;
    }
}

void LocalStore::logQueryFailure(const std::exception &e) {
    qCWarning(lcStore, "query failed: %s", e.what());
}

void LocalStore::bindText(SQLite::Statement &statement, int index, const QString &value) {
    statement.bind(index, value.toStdString()); // bound as TEXT (UTF-8), never as a blob
}

QString LocalStore::textAt(const SQLite::Statement &statement, int index) {
    const SQLite::Column column = statement.getColumn(index);
    const char *text = column.getText();
    return QString::fromUtf8(text, column.getBytes());
}
