#include "storage/storagemigration.h"

#include "log/servicelog.h"

#include "storage/pgconnection.h"
#include "storage/postgresstorage.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <openssl/evp.h>

#include <map>

namespace {

struct Table {
    const char *name;
    const char *columns;      // in both databases
    const char *placeholders; // for the insert
    int blobColumn = -1;      // copied as bytea
};

// Parents before children, so every reference is already there.
const Table tables[] = {
    {"users", "id, name, name_key, password_hash, library_version, is_team, changes_from",
     "$1, $2, $3, $4, $5, $6, $7"},
    {"sessions", "token_digest, user_id, created_at, last_used", "$1, $2, $3, $4"},
    {"login_guard", "name_key, failures, window_start, locked_until", "$1, $2, $3, $4"},
    {"word_class", "id, user_id, sign, label, position", "$1, $2, $3, $4, $5"},
    {"word_list", "id, user_id, class_id, sign, label, json_value, texts, images, position, changed_in",
     "$1, $2, $3, $4, $5, $6, $7, $8, $9, $10"},
    {"deleted_phrases", "user_id, sign, version", "$1, $2, $3"},
    {"team_members", "team_id, user_id, role", "$1, $2, $3"},
    {"usage_batches", "team_id, user_id, batch, received_at", "$1, $2, $3, $4"},
    {"phrase_usage", "team_id, user_id, sign, day, sends", "$1, $2, $3, $4, $5"},
    {"pictures", "name, data, created_at, size", "$1, $2, $3, $4", 1},
    {"picture_owners", "name, user_id", "$1, $2"},
};

// In PostgreSQL's md5() spelling: lower-case hex.
std::string md5Hex(const std::string &bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_md5(), nullptr);
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (unsigned int i = 0; i < size; ++i)
        out += {digits[digest[i] >> 4], digits[digest[i] & 15]};
    return out;
}

std::string selectFrom(const Table &table) {
    std::string columns = table.columns;
    // SQLite keeps no size column; it is the blob's length.
    if (std::string(table.name) == "pictures")
        columns = "name, data, created_at, length(data)";
    return "SELECT " + columns + " FROM " + table.name;
}

} // namespace

int StorageMigration::run(const std::string &sqlitePath, const std::string &postgresUrl) {
    std::string error;
    // Creates the schema when the database is new.
    if (!PostgresStorage::open(postgresUrl, 1, error)) {
        ServiceLog::write("migrate: " + error);
        return 1;
    }
    PgConnection pg(postgresUrl);
    if (!pg.ok()) {
        ServiceLog::write("migrate: " + pg.error());
        return 1;
    }
    const auto fail = [&](const std::string &why) {
        pg.exec("ROLLBACK");
        ServiceLog::write("migrate: " + why + "; nothing was copied");
        return 1;
    };
    try {
        SQLite::Database source(sqlitePath, SQLite::OPEN_READONLY);
        source.setBusyTimeout(10000);
        if (source.execAndGet("PRAGMA user_version").getInt() < 3)
            return fail("start the service once on " + sqlitePath + " to bring its schema up to date");
        // One read transaction: every table comes from the same moment.
        SQLite::Transaction snapshot(source, SQLite::TransactionBehavior::DEFERRED);
        if (!pg.exec("BEGIN").ok())
            return fail(pg.error());
        const auto accounts = pg.exec("SELECT COUNT(*) FROM users");
        if (!accounts.ok() || accounts.integer(0, 0) != 0)
            return fail(accounts.ok() ? "the target database already holds accounts" : accounts.error());

        std::map<std::string, std::string> digests;
        for (const auto &table : tables) {
            SQLite::Statement rows(source, selectFrom(table));
            const std::string insert = std::string("INSERT INTO ") + table.name + "(" + table.columns +
                                       ") VALUES(" + table.placeholders + ")";
            std::int64_t copied = 0;
            while (rows.executeStep()) {
                std::vector<PgParam> params;
                for (int c = 0; c < rows.getColumnCount(); ++c) {
                    const auto column = rows.getColumn(c);
                    if (c == table.blobColumn) {
                        std::string bytes(static_cast<const char *>(column.getBlob()),
                                          std::size_t(column.getBytes()));
                        digests[rows.getColumn(0).getString()] = md5Hex(bytes);
                        params.push_back(PgParam::bytes(std::move(bytes)));
                    } else {
                        params.emplace_back(column.getString());
                    }
                }
                const auto r = pg.exec(insert, params);
                if (!r.ok())
                    return fail(std::string(table.name) + ": " + r.error());
                ++copied;
            }
            const auto count = pg.exec(std::string("SELECT COUNT(*) FROM ") + table.name);
            if (!count.ok() || count.integer(0, 0) != copied)
                return fail(std::string(table.name) + ": " + std::to_string(copied) + " rows read but " +
                            (count.ok() ? count.text(0, 0) : count.error()) + " in the target");
            ServiceLog::write(std::string(table.name) + ": " + std::to_string(copied) + " rows");
        }
        // Read back from where they now live: the bytes that arrived are the bytes that were sent.
        const auto stored = pg.exec("SELECT name, md5(data) FROM pictures");
        if (!stored.ok())
            return fail(stored.error());
        for (int i = 0; i < stored.rows(); ++i) {
            const auto it = digests.find(stored.text(i, 0));
            if (it == digests.end() || it->second != stored.text(i, 1))
                return fail("picture " + stored.text(i, 0) + " differs after the copy");
        }
        for (const char *table : {"users", "word_class", "word_list"}) {
            const auto r = pg.exec(std::string("SELECT setval(pg_get_serial_sequence('") + table +
                                   "', 'id'), COALESCE(MAX(id), 0) + 1, false) FROM " + table);
            if (!r.ok())
                return fail(r.error());
        }
        if (const auto r = pg.exec("COMMIT"); !r.ok())
            return fail(r.error());
        ServiceLog::write("migrate: done; " + std::to_string(digests.size()) + " picture digests verified");
        return 0;
    } catch (const SQLite::Exception &e) {
        return fail(sqlitePath + ": " + e.what());
    }
}
