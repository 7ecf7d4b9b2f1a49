#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

typedef struct pg_conn PGconn;
typedef struct pg_result PGresult;

// One value sent with a statement: text, or raw bytes for a bytea column.
struct PgParam {
    PgParam(std::string text) : value(std::move(text)) {}
    PgParam(const char *text) : value(text) {}
    PgParam(std::int64_t number) : value(std::to_string(number)) {}
    static PgParam bytes(std::string data) {
        PgParam p(std::move(data));
        p.binary = true;
        return p;
    }

    std::string value;
    bool binary = false;
};

// The outcome of one statement: its rows, or why it failed.
class PgResult {
public:
    bool ok() const { return ok_; }
    // The connection broke while the statement ran; nothing of it can be trusted.
    bool connectionLost() const { return lost_; }
    const std::string &error() const { return error_; }
    // Five-character SQLSTATE of a refused statement ("23505": unique key taken).
    const std::string &state() const { return state_; }

    int rows() const;
    std::string text(int row, int column) const;
    std::int64_t integer(int row, int column) const;
    // Rows a command changed.
    std::int64_t affected() const;

private:
    friend class PgConnection;
    std::shared_ptr<PGresult> result_;
    bool ok_ = false;
    bool lost_ = false;
    std::string error_;
    std::string state_;
};

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
