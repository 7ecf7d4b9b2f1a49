#pragma once

#include <cstdint>
#include <memory>
#include <string>

typedef struct pg_result PGresult;

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
