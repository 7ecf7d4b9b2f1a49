#include "cloud/classapi.h"

#include "cloud/httptransport.h"
#include "cloud/serviceapi.h"

#include <QJsonArray>
#include <QJsonObject>

std::optional<QString> ClassApi::replyError(const JsonReply &r) {
    if (!r.isSuccess())
        return r.text();
    if (r.json()[QLatin1String("state")].toInt() == 1)
        return std::nullopt;
    return r.json()[QLatin1String("msg")].toString();
}

CallResult ClassApi::toResultBase(const JsonReply &r) {
    if (const std::optional<QString> error = replyError(r))
        return CallResult::error(*error);
    return CallResult::ok();
}

CreateResult ClassApi::toResultCreate(const JsonReply &r) {
    if (const std::optional<QString> error = replyError(r))
        return CreateResult::onError(*error);
    return CreateResult::onSuccess(r.json()[QLatin1String("sign")].toString());
}

void ClassApi::postForBase(const QString &path, const QMap<QString, QString> &pars,
                           CallHandler resultHandler) {
    HttpTransport::postJsonRe(
        ServiceApi::appendUrl(path), pars,
        [resultHandler = std::move(resultHandler)](const JsonReply &r) { resultHandler(toResultBase(r)); });
}

void ClassApi::postForCreate(const QString &path, const QMap<QString, QString> &pars,
                             CreateHandler resultHandler) {
    HttpTransport::postJsonRe(
        ServiceApi::appendUrl(path), pars,
        [resultHandler = std::move(resultHandler)](const JsonReply &r) { resultHandler(toResultCreate(r)); });
}

void ClassApi::create(const QString &label, const QString &position, const QString &dbname,
                      CreateHandler resultHandler) {
    postForCreate(QStringLiteral("/api/word/class/create"),
                  {{QStringLiteral("label"), label},
                   {QStringLiteral("position"), position},
                   {QStringLiteral("dbname"), dbname}},
                  std::move(resultHandler));
}

void ClassApi::remove(const QString &sign, const QString &dbname, CallHandler resultHandler) {
    postForBase(QStringLiteral("/api/word/class/del"),
                {{QStringLiteral("sign"), sign}, {QStringLiteral("dbname"), dbname}},
                std::move(resultHandler));
}

void ClassApi::upLabel(const QString &sign, const QString &newLabel, const QString &dbname,
                       CallHandler resultHandler) {
    postForBase(QStringLiteral("/api/word/class/upLabel"),
                {{QStringLiteral("sign"), sign},
                 {QStringLiteral("newLabel"), newLabel},
                 {QStringLiteral("dbname"), dbname}},
                std::move(resultHandler));
}

void ClassApi::swapPositions(const QString &sign1, const QString &sign2, const QString &dbname,
                             CallHandler resultHandler) {
    postForBase(QStringLiteral("/api/word/class/swapPosition"),
                {{QStringLiteral("sign1"), sign1},
                 {QStringLiteral("sign2"), sign2},
                 {QStringLiteral("dbname"), dbname}},
                std::move(resultHandler));
}

void ClassApi::getAll(const QString &dbname, ClassListHandler resultHandler) {
    HttpTransport::postJsonRe(
        ServiceApi::appendUrl(QStringLiteral("/api/word/class/getAll")), {{QStringLiteral("dbname"), dbname}},
        [resultHandler = std::move(resultHandler)](const JsonReply &r) {
            if (const std::optional<QString> error = replyError(r)) {
                resultHandler(ClassListResult::onError(*error));
                return;
            }
            const QJsonArray items = r.json()[QLatin1String("data")].toArray();
            if (items.isEmpty())
                ServiceApi::endProgram(
                    QStringLiteral("致命错误: 服务返回的分类列表为空 (/api/word/class/getAll), 程序退出"));
            QList<PhraseClass> data;
            data.reserve(items.size());
            for (const QJsonValue &item : items)
                data.append(PhraseClass(
                    item[QLatin1String("id")].toInteger(), item[QLatin1String("sign")].toString(),
                    item[QLatin1String("label")].toString(), item[QLatin1String("position")].toInteger(),
                    item[QLatin1String("username")].toString()));
            resultHandler(ClassListResult::onSuccess(std::move(data)));
        });
}
