#include "cloud/api_word_class.h"

#include "cloud/api_base.h"
#include "cloud/mhttp.h"

#include <QJsonArray>
#include <QJsonObject>

std::optional<QString> api_word_class::replyError(const mHttpJsonResult &r) {
    if (!r.isSuccess())
        return r.text();
    if (r.json()[QLatin1String("state")].toInt() == 1)
        return std::nullopt;
    return r.json()[QLatin1String("msg")].toString();
}

ApiResultBase api_word_class::toResultBase(const mHttpJsonResult &r) {
    if (const std::optional<QString> error = replyError(r))
        return ApiResultBase::error(*error);
    return ApiResultBase::ok();
}

apiResultCreate api_word_class::toResultCreate(const mHttpJsonResult &r) {
    if (const std::optional<QString> error = replyError(r))
        return apiResultCreate::onError(*error);
    return apiResultCreate::onSuccess(r.json()[QLatin1String("sign")].toString());
}

void api_word_class::postForBase(const QString &path, const QMap<QString, QString> &pars,
                                 ApiResultBaseHandler resultHandler) {
    mHttp::postJsonRe(api_base::appendUrl(path), pars,
                      [resultHandler = std::move(resultHandler)](const mHttpJsonResult &r) {
                          resultHandler(toResultBase(r));
                      });
}

void api_word_class::postForCreate(const QString &path, const QMap<QString, QString> &pars,
                                   apiResultCreateHandler resultHandler) {
    mHttp::postJsonRe(api_base::appendUrl(path), pars,
                      [resultHandler = std::move(resultHandler)](const mHttpJsonResult &r) {
                          resultHandler(toResultCreate(r));
                      });
}

void api_word_class::create(const QString &label, const QString &position, const QString &dbname,
                            apiResultCreateHandler resultHandler) {
    postForCreate(QStringLiteral("/api/word/class/create"),
                  {{QStringLiteral("label"), label},
                   {QStringLiteral("position"), position},
                   {QStringLiteral("dbname"), dbname}},
                  std::move(resultHandler));
}

void api_word_class::delete_(const QString &sign, const QString &dbname, ApiResultBaseHandler resultHandler) {
    postForBase(QStringLiteral("/api/word/class/del"),
                {{QStringLiteral("sign"), sign}, {QStringLiteral("dbname"), dbname}},
                std::move(resultHandler));
}

void api_word_class::upLabel(const QString &sign, const QString &newLabel, const QString &dbname,
                             ApiResultBaseHandler resultHandler) {
    postForBase(QStringLiteral("/api/word/class/upLabel"),
                {{QStringLiteral("sign"), sign},
                 {QStringLiteral("newLabel"), newLabel},
                 {QStringLiteral("dbname"), dbname}},
                std::move(resultHandler));
}

void api_word_class::swapPostion(const QString &sign1, const QString &sign2, const QString &dbname,
                                 ApiResultBaseHandler resultHandler) {
    postForBase(QStringLiteral("/api/word/class/swapPosition"),
                {{QStringLiteral("sign1"), sign1},
                 {QStringLiteral("sign2"), sign2},
                 {QStringLiteral("dbname"), dbname}},
                std::move(resultHandler));
}

void api_word_class::getAll(const QString &dbname, apiResultWordClasGetAllHandler resultHandler) {
    mHttp::postJsonRe(
        api_base::appendUrl(QStringLiteral("/api/word/class/getAll")), {{QStringLiteral("dbname"), dbname}},
        [resultHandler = std::move(resultHandler)](const mHttpJsonResult &r) {
            if (const std::optional<QString> error = replyError(r)) {
                resultHandler(apiResultWordClasGetAll::onError(*error));
                return;
            }
            const QJsonArray items = r.json()[QLatin1String("data")].toArray();
            if (items.isEmpty())
                api_base::endProgram(
                    QStringLiteral("致命错误: 服务返回的分类列表为空 (/api/word/class/getAll), 程序退出"));
            QList<DataWordClass> data;
            data.reserve(items.size());
            for (const QJsonValue &item : items)
                data.append(DataWordClass(
                    item[QLatin1String("id")].toInteger(), item[QLatin1String("sign")].toString(),
                    item[QLatin1String("label")].toString(), item[QLatin1String("position")].toInteger(),
                    item[QLatin1String("username")].toString()));
            resultHandler(apiResultWordClasGetAll::onSuccess(std::move(data)));
        });
}
