#include "storage/pgconnection.h"

#include "log/servicelog.h"

#include <libpq-fe.h>

namespace {

// Failures that mean the server went away rather than refused the statement.
bool lostState(const std::string &state) {
    return state.rfind("08", 0) == 0 || state == "57P01" || state == "57P02" || state == "57P03";
}

// The server's notices (a shutdown under way, say) join the service's log instead of standard error.
void printNotice(void *, const char *message) {
    std::string text = message;
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    ServiceLog::line("database: " + text);
}

} // namespace

PgConnection::PgConnection(const std::string &url) : conn_(PQconnectdb(url.c_str())) {
    if (conn_)
        PQsetNoticeProcessor(conn_, printNotice, nullptr);
}

PgConnection::~PgConnection() {
    if (conn_)
        PQfinish(conn_);
}

bool PgConnection::ok() const {
    return conn_ && PQstatus(conn_) == CONNECTION_OK;
}

std::string PgConnection::error() const {
    if (!conn_)
        return "out of memory";
    std::string text = PQerrorMessage(conn_);
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

std::string PgConnection::withTimeout(const std::string &url, int seconds) {
    if (url.find("connect_timeout") != std::string::npos)
        return url;
    const bool isUri = url.rfind("postgresql://", 0) == 0 || url.rfind("postgres://", 0) == 0;
    if (!isUri)
        return url + " connect_timeout=" + std::to_string(seconds);
    return url + (url.find('?') == std::string::npos ? "?" : "&") +
           "connect_timeout=" + std::to_string(seconds);
}

PgResult PgConnection::collect(PGresult *raw) {
    PgResult r;
    r.result_.reset(raw, PQclear);
    const auto status = raw ? PQresultStatus(raw) : PGRES_FATAL_ERROR;
    r.ok_ = status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
    if (!r.ok_) {
        if (raw) {
            if (const char *state = PQresultErrorField(raw, PG_DIAG_SQLSTATE))
                r.state_ = state;
            r.error_ = PQresultErrorMessage(raw);
        }
        if (r.error_.empty())
            r.error_ = error();
        while (!r.error_.empty() && (r.error_.back() == '\n' || r.error_.back() == ' '))
            r.error_.pop_back();
        r.lost_ = !ok() || lostState(r.state_);
    }
    return r;
}

PgResult PgConnection::exec(const std::string &sql, const std::vector<PgParam> &params, bool binaryResult) {
    if (!ok())
        return collect(nullptr);
    if (params.empty() && !binaryResult)
        return collect(PQexec(conn_, sql.c_str()));
    auto name = prepared_.find(sql);
    if (name == prepared_.end()) {
        const auto statement = "s" + std::to_string(prepared_.size());
        auto prepared =
            collect(PQprepare(conn_, statement.c_str(), sql.c_str(), int(params.size()), nullptr));
        if (!prepared.ok())
            return prepared;
        name = prepared_.emplace(sql, statement).first;
    }
    std::vector<const char *> values;
    std::vector<int> lengths;
    std::vector<int> formats;
    for (const auto &p : params) {
        values.push_back(p.value.data());
        lengths.push_back(int(p.value.size()));
        formats.push_back(p.binary ? 1 : 0);
    }
    return collect(PQexecPrepared(conn_, name->second.c_str(), int(params.size()), values.data(),
                                  lengths.data(), formats.data(), binaryResult ? 1 : 0));
}
