#pragma once

#include "storage/pgconnection.h"

// The statements of one unit of storage work on a leased connection. The first statement that fails
// ends the work by throwing Failed, which the storage around it catches: the unit is then retried
// or reported, never half applied.
class PgTransaction {
public:
    struct Failed {
        PgResult result;
    };

    explicit PgTransaction(PgConnection &conn) : conn_(conn) {}

    PgResult exec(const std::string &sql, const std::vector<PgParam> &params = {}, bool binaryResult = false);
    // Like exec, but the outcome of a lost connection is unknown: the work must not be repeated.
    void commit();
    bool commitInDoubt() const { return committing_; }

private:
    PgConnection &conn_;
    bool committing_ = false;
};
