#pragma once

#include <string>

// `quillora-cloud migrate --from sqlite:PATH --to postgresql://…`: copies a team's SQLite data into
// an empty PostgreSQL database in one transaction, read from one snapshot (the service may keep
// running meanwhile), and commits only when every table's row count and every picture's digest
// match the source. Returns the process exit status; progress and problems go to the log.
class StorageMigration {
public:
    static int run(const std::string &sqlitePath, const std::string &postgresUrl);
};
