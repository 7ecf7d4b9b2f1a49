#pragma once

#include <cstdint>
#include <string>

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
