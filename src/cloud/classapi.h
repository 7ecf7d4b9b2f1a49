#pragma once

#include "cloud/callresult.h"
#include "cloud/classlistresult.h"
#include "cloud/createresult.h"
#include "cloud/jsonreply.h"

#include <QMap>
#include <QString>
#include <optional>

// The class endpoints of the service; dbname names the user's library there.
class ClassApi {
public:
    ClassApi() = delete;

    static void create(const QString &label, const QString &position, const QString &dbname,
                       CreateHandler resultHandler);
    // `delete` is a keyword; remove is the nearest legal name.
    static void remove(const QString &sign, const QString &dbname, CallHandler resultHandler);
    static void upLabel(const QString &sign, const QString &newLabel, const QString &dbname,
                        CallHandler resultHandler);
    static void swapPositions(const QString &sign1, const QString &sign2, const QString &dbname,
                              CallHandler resultHandler);
    // A library without classes cannot be fetched: an empty list ends the program.
    static void getAll(const QString &dbname, ClassListHandler resultHandler);

    // Shared by both endpoint groups: "state" 1 is ok, else the reply's "msg"; transport text as it is.
    static CallResult toResultBase(const JsonReply &r);
    static CreateResult toResultCreate(const JsonReply &r);
    // The failure text of a reply (transport text, or "msg" when "state" is not 1); nothing when ok.
    static std::optional<QString> replyError(const JsonReply &r);
    // Posts pars to the service path and hands the reply on through toResultBase / toResultCreate.
    static void postForBase(const QString &path, const QMap<QString, QString> &pars,
                            CallHandler resultHandler);
    static void postForCreate(const QString &path, const QMap<QString, QString> &pars,
                              CreateHandler resultHandler);
};
