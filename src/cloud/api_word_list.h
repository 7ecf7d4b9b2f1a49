#pragma once

#include "cloud/apiresultbase.h"
#include "cloud/apiresultcreate.h"
#include "cloud/apiresultwordlistgetall.h"

#include <QString>

// The phrase endpoints of the service; dbname names the user's library there.
class api_word_list {
public:
    api_word_list() = delete;

    static void create(const QString &parentSign, const QString &label, const QString &jsonValue,
                       const QString &position, const QString &dbname, apiResultCreateHandler resultHandler);
    // `delete` is a keyword; delete_ is the nearest legal name.
    static void delete_(const QString &sign, const QString &dbname, ApiResultBaseHandler resultHandler);
    static void upDate(const QString &newParentSign, const QString &sign, const QString &newLabel,
                       const QString &newJsonValue, const QString &dbname,
                       ApiResultBaseHandler resultHandler);
    static void swapPostion(const QString &sign1, const QString &sign2, const QString &dbname,
                            ApiResultBaseHandler resultHandler);
    // JSON fetch: an empty list ends the program.
    static void getAll(const QString &dbname, apiResultWordListGetAllHandler resultHandler);
    // Text fetch used by the synchronisation: an empty list is fine; a reply that is not a JSON object
    // never calls the handler.
    static void getAll1(const QString &dbname, apiResultWordListGetAllHandler resultHandler);
};
