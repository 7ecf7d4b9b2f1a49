#include "store/teamstore.h"

#include "model/logging.h"
#include "store/localstore.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>
#include <SQLiteCpp/Transaction.h>

TeamStore::TeamStore(LocalStore &store, QString account) : store_(store), account_(std::move(account)) {
    createTables();
}

void TeamStore::createTables() {
    const auto none = [](SQLite::Statement &) {};
    store_.changes("CREATE TABLE IF NOT EXISTS team_library (account TEXT NOT NULL, dbname TEXT NOT NULL, "
                   "role TEXT NOT NULL, version INTEGER NOT NULL, position INTEGER NOT NULL, "
                   "PRIMARY KEY (account, dbname))",
                   none);
    store_.changes("CREATE TABLE IF NOT EXISTS team_usage (account TEXT NOT NULL, dbname TEXT NOT NULL, "
                   "sign TEXT NOT NULL, sends INTEGER NOT NULL, PRIMARY KEY (account, dbname, sign))",
                   none);
    store_.changes(
        "CREATE TABLE IF NOT EXISTS team_usage_batch (id INTEGER PRIMARY KEY NOT NULL, "
        "batch TEXT NOT NULL UNIQUE, account TEXT NOT NULL, dbname TEXT NOT NULL, counts TEXT NOT NULL, "
        "refusals INTEGER NOT NULL DEFAULT 0)",
        none);
}

QList<LibraryInfo> TeamStore::libraries() {
    return store_.rowsOf<LibraryInfo>(
        "SELECT dbname, role, version FROM team_library WHERE account = ? ORDER BY position",
        [this](SQLite::Statement &s) { LocalStore::bindText(s, 1, account_); },
        [](const SQLite::Statement &row) {
            return LibraryInfo{LocalStore::textAt(row, 0), true, LocalStore::textAt(row, 1),
                               row.getColumn(2).getInt64()};
        });
}

bool TeamStore::setLibraries(const QList<LibraryInfo> &teams) {
    SQLite::Database *db = store_.connection();
    if (!db)
        return false;
    try {
        SQLite::Transaction transaction(*db, SQLite::TransactionBehavior::IMMEDIATE);
        SQLite::Statement kept(*db, "SELECT dbname, version FROM team_library WHERE account = ?");
        LocalStore::bindText(kept, 1, account_);
        QHash<QString, qint64> versions;
        while (kept.executeStep())
            versions.insert(LocalStore::textAt(kept, 0), kept.getColumn(1).getInt64());
        SQLite::Statement clear(*db, "DELETE FROM team_library WHERE account = ?");
        LocalStore::bindText(clear, 1, account_);
        clear.exec();
        SQLite::Statement insert(*db, "INSERT INTO team_library (account, dbname, role, version, position) "
                                      "VALUES (?, ?, ?, ?, ?)");
        for (qsizetype i = 0; i < teams.size(); ++i) {
            LocalStore::bindText(insert, 1, account_);
            LocalStore::bindText(insert, 2, teams[i].dbname);
            LocalStore::bindText(insert, 3, teams[i].role);
            insert.bind(4, int64_t(versions.value(teams[i].dbname, 0)));
            insert.bind(5, int64_t(i));
            insert.exec();
            insert.reset();
        }
        transaction.commit();
        return true;
    } catch (const std::exception &e) {
        qCWarning(lcStore, "writing the team libraries failed: %s", e.what());
        return false;
    }
}

qint64 TeamStore::version(const QString &dbname) {
    const QList<qint64> rows = store_.rowsOf<qint64>(
        "SELECT version FROM team_library WHERE account = ? AND dbname = ?",
        [&](SQLite::Statement &s) {
            LocalStore::bindText(s, 1, account_);
            LocalStore::bindText(s, 2, dbname);
        },
        [](const SQLite::Statement &row) { return qint64(row.getColumn(0).getInt64()); });
    return rows.value(0, 0);
}

bool TeamStore::setVersion(const QString &dbname, qint64 version) {
    return store_.changes("UPDATE team_library SET version = ? WHERE account = ? AND dbname = ?",
                          [&](SQLite::Statement &s) {
                              s.bind(1, int64_t(version));
                              LocalStore::bindText(s, 2, account_);
                              LocalStore::bindText(s, 3, dbname);
                          }) > 0;
}

bool TeamStore::forgetRows(const QString &dbname) {
    // Every account on this computer that is still a member fetches the team whole next time.
    return store_.changes("UPDATE team_library SET version = 0 WHERE dbname = ?",
                          [&](SQLite::Statement &s) { LocalStore::bindText(s, 1, dbname); }) >= 0;
}

bool TeamStore::addSend(const QString &dbname, const QString &sign) {
    return store_.changes("INSERT INTO team_usage (account, dbname, sign, sends) VALUES (?, ?, ?, 1) "
                          "ON CONFLICT (account, dbname, sign) DO UPDATE SET sends = sends + 1",
                          [&](SQLite::Statement &s) {
                              LocalStore::bindText(s, 1, account_);
                              LocalStore::bindText(s, 2, dbname);
                              LocalStore::bindText(s, 3, sign);
                          }) > 0;
}

std::optional<TeamStore::Batch> TeamStore::nextBatch() {
    SQLite::Database *db = store_.connection();
    if (!db)
        return std::nullopt;
    try {
        SQLite::Statement waiting(
            *db, "SELECT batch, dbname, counts FROM team_usage_batch WHERE account = ? ORDER BY id LIMIT 1");
        LocalStore::bindText(waiting, 1, account_);
        if (waiting.executeStep())
            return Batch{LocalStore::textAt(waiting, 0), LocalStore::textAt(waiting, 1),
                         LocalStore::textAt(waiting, 2)};

        SQLite::Transaction transaction(*db, SQLite::TransactionBehavior::IMMEDIATE);
        SQLite::Statement first(*db, "SELECT dbname FROM team_usage WHERE account = ? LIMIT 1");
        LocalStore::bindText(first, 1, account_);
        if (!first.executeStep())
            return std::nullopt;
        const QString dbname = LocalStore::textAt(first, 0);
        first.reset();
        SQLite::Statement counted(*db, "SELECT sign, sends FROM team_usage WHERE account = ? AND dbname = ?");
        LocalStore::bindText(counted, 1, account_);
        LocalStore::bindText(counted, 2, dbname);
        QJsonObject counts;
        while (counted.executeStep())
            counts.insert(LocalStore::textAt(counted, 0), qint64(counted.getColumn(1).getInt64()));
        const Batch batch{QUuid::createUuid().toString(QUuid::WithoutBraces), dbname,
                          QString::fromUtf8(QJsonDocument(counts).toJson(QJsonDocument::Compact))};
        SQLite::Statement taken(*db, "DELETE FROM team_usage WHERE account = ? AND dbname = ?");
        LocalStore::bindText(taken, 1, account_);
        LocalStore::bindText(taken, 2, dbname);
        taken.exec();
        SQLite::Statement insert(*db, "INSERT INTO team_usage_batch (batch, account, dbname, counts) "
                                      "VALUES (?, ?, ?, ?)");
        LocalStore::bindText(insert, 1, batch.id);
        LocalStore::bindText(insert, 2, account_);
        LocalStore::bindText(insert, 3, batch.dbname);
        LocalStore::bindText(insert, 4, batch.counts);
        insert.exec();
        transaction.commit();
        return batch;
    } catch (const std::exception &e) {
        qCWarning(lcStore, "making a usage batch failed: %s", e.what());
        return std::nullopt;
    }
}

bool TeamStore::refuseBatch(const QString &id) {
    store_.changes("UPDATE team_usage_batch SET refusals = refusals + 1 WHERE batch = ?",
                   [&](SQLite::Statement &s) { LocalStore::bindText(s, 1, id); });
    return store_.changes("DELETE FROM team_usage_batch WHERE batch = ? AND refusals >= ?",
                          [&](SQLite::Statement &s) {
                              LocalStore::bindText(s, 1, id);
                              s.bind(2, maxRefusals);
                          }) > 0;
}

bool TeamStore::removeBatch(const QString &id) {
    return store_.changes("DELETE FROM team_usage_batch WHERE batch = ?",
                          [&](SQLite::Statement &s) { LocalStore::bindText(s, 1, id); }) > 0;
}
