#pragma once

#include "storage/pgparam.h"
#include "storage/pgresult.h"

#include <map>
#include <string>
#include <vector>

typedef struct pg_conn PGconn;

// A libpq connection with its statements prepared on first use. Not thread-safe: one user at a time
// (the pool hands it out). Nothing here throws.
class PgConnection {
public:
    explicit PgConnection(const std::string &url);
    ~PgConnection();
    PgConnection(const PgConnection &) = delete;
    PgConnection &operator=(const PgConnection &) = delete;

    bool ok() const;
    std::string error() const;

    // Runs one statement; with parameters it is prepared once per connection and reused.
    // binaryResult returns every column as raw bytes (for bytea).
    PgResult exec(const std::string &sql, const std::vector<PgParam> &params = {}, bool binaryResult = false);

    // Adds connect_timeout when the address has none, so an unreachable server fails fast.
    static std::string withTimeout(const std::string &url, int seconds);

private:
    PgResult collect(PGresult *raw);

    PGconn *conn_ = nullptr;
    std::map<std::string, std::string> prepared_;
};
