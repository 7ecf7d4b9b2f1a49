#pragma once

#include "cloud/apiresultbase.h"
#include "cloud/apiresultcreate.h"
#include "cloud/apiresultwordclasgetall.h"
#include "cloud/mhttpjsonresult.h"

#include <QMap>
#include <QString>
#include <optional>

// The class endpoints of the service; dbname names the user's library there.
class api_word_class {
public:
    api_word_class() = delete;

    static void create(const QString &label, const QString &position, const QString &dbname,
                       apiResultCreateHandler resultHandler);
    // `delete` is a keyword; delete_ is the nearest legal name.
    static void delete_(const QString &sign, const QString &dbname, ApiResultBaseHandler resultHandler);
    static void upLabel(const QString &sign, const QString &newLabel, const QString &dbname,
                        ApiResultBaseHandler resultHandler);
    static void swapPostion(const QString &sign1, const QString &sign2, const QString &dbname,
                            ApiResultBaseHandler resultHandler);
    // A library without classes cannot be fetched: an empty list ends the program.
    static void getAll(const QString &dbname, apiResultWordClasGetAllHandler resultHandler);

    // Shared by both endpoint groups: "state" 1 is ok, else the reply's "msg"; transport text as it is.
    static ApiResultBase toResultBase(const mHttpJsonResult &r);
    static apiResultCreate toResultCreate(const mHttpJsonResult &r);
    // The failure text of a reply (transport text, or "msg" when "state" is not 1); nothing when ok.
    static std::optional<QString> replyError(const mHttpJsonResult &r);
    // Posts pars to the service path and hands the reply on through toResultBase / toResultCreate.
    static void postForBase(const QString &path, const QMap<QString, QString> &pars,
                            ApiResultBaseHandler resultHandler);
    static void postForCreate(const QString &path, const QMap<QString, QString> &pars,
                              apiResultCreateHandler resultHandler);
};
