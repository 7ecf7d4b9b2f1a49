#include "storage/pgtransaction.h"

PgResult PgTransaction::exec(const std::string &sql, const std::vector<PgParam> &params, bool binaryResult) {
    auto result = conn_.exec(sql, params, binaryResult);
    if (!result.ok())
        throw Failed{std::move(result)};
    return result;
}

void PgTransaction::commit() {
    committing_ = true;
    exec("COMMIT");
    committing_ = false;
}
