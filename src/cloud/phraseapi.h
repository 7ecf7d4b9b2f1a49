#pragma once

#include "cloud/callresult.h"
#include "cloud/createresult.h"
#include "cloud/phraselistresult.h"

#include <QString>

// The phrase endpoints of the service; dbname names the user's library there.
class PhraseApi {
public:
    PhraseApi() = delete;

    static void create(const QString &parentSign, const QString &label, const QString &jsonValue,
                       const QString &position, const QString &dbname, CreateHandler resultHandler);
    // `delete` is a keyword; remove is the nearest legal name.
    static void remove(const QString &sign, const QString &dbname, CallHandler resultHandler);
    static void updateClass(const QString &newParentSign, const QString &sign, const QString &newLabel,
                            const QString &newJsonValue, const QString &dbname, CallHandler resultHandler);
    static void swapPositions(const QString &sign1, const QString &sign2, const QString &dbname,
                              CallHandler resultHandler);
    // JSON fetch: an empty list ends the program.
    static void getAll(const QString &dbname, PhraseListHandler resultHandler);
    // Text fetch used by the synchronisation: an empty list is fine; a reply that is not a JSON object
    // never calls the handler.
    static void getAll1(const QString &dbname, PhraseListHandler resultHandler);
};
