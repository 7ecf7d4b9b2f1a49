#include "storage/pgresult.h"

#include <libpq-fe.h>

#include <charconv>

int PgResult::rows() const {
    return result_ ? PQntuples(result_.get()) : 0;
}

std::string PgResult::text(int row, int column) const {
    if (!result_ || row >= rows())
        return {};
    return std::string(PQgetvalue(result_.get(), row, column),
                       std::size_t(PQgetlength(result_.get(), row, column)));
}

std::int64_t PgResult::integer(int row, int column) const {
    const auto value = text(row, column);
    std::int64_t out = 0;
    std::from_chars(value.data(), value.data() + value.size(), out);
    return out;
}

std::int64_t PgResult::affected() const {
    if (!result_)
        return 0;
    const std::string count = PQcmdTuples(result_.get());
    std::int64_t out = 0;
    std::from_chars(count.data(), count.data() + count.size(), out);
    return out;
}
