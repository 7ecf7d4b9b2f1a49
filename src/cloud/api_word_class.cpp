#include "cloud/api_word_class.h"

#include "cloud/api_base.h"
#include "cloud/mhttp.h"

#include <QJsonArray>
#include <QJsonObject>

ApiResultBase api_word_class::toResultBase(const mHttpJsonResult &r) {
    if (!r.isSuccess())
        return ApiResultBase::error(r.text());
    if (r.json()[QLatin1String("state")].toInt() == 1)
        return ApiResultBase::ok();
    return ApiResultBase::error(r.json()[QLatin1String("msg")].toString());
}

apiResultCreate api_word_class::toResultCreate(const mHttpJsonResult &r) {
    if (!r.isSuccess())
        return apiResultCreate::onError(r.text());
    if (r.json()[QLatin1String("state")].toInt() == 1)
        return apiResultCreate::onSuccess(r.json()[QLatin1String("sign")].toString());
    return apiResultCreate::onError(r.json()[QLatin1String("msg")].toString());
}

void api_word_class::create(const QString &label, const QString &position, const QString &dbname,
                            apiResultCreateHandler resultHandler) {
    mHttp::postJsonRe(api_base::appendUrl(QStringLiteral("/api/word/class/create")),
                      {{QStringLiteral("label"), label},
                       {QStringLiteral("position"), position},
                       {QStringLiteral("dbname"), dbname}},
                      [resultHandler = std::move(resultHandler)](const mHttpJsonResult &r) {
                          resultHandler(toResultCreate(r));
                      });
}

void api_word_class::delete_(const QString &sign, const QString &dbname, ApiResultBaseHandler resultHandler) {
    mHttp::postJsonRe(api_base::appendUrl(QStringLiteral("/api/word/class/del")),
                      {{QStringLiteral("sign"), sign}, {QStringLiteral("dbname"), dbname}},
                      [resultHandler = std::move(resultHandler)](const mHttpJsonResult &r) {
                          resultHandler(toResultBase(r));
                      });
}

void api_word_class::upLabel(const QString &sign, const QString &newLabel, const QString &dbname,
                             ApiResultBaseHandler resultHandler) {
    mHttp::postJsonRe(api_base::appendUrl(QStringLiteral("/api/word/class/upLabel")),
                      {{QStringLiteral("sign"), sign},
                       {QStringLiteral("newLabel"), newLabel},
                       {QStringLiteral("dbname"), dbname}},
                      [resultHandler = std::move(resultHandler)](const mHttpJsonResult &r) {
                          resultHandler(toResultBase(r));
                      });
}

void api_word_class::swapPostion(const QString &sign1, const QString &sign2, const QString &dbname,
                                 ApiResultBaseHandler resultHandler) {
    mHttp::postJsonRe(api_base::appendUrl(QStringLiteral("/api/word/class/swapPosition")),
                      {{QStringLiteral("sign1"), sign1},
                       {QStringLiteral("sign2"), sign2},
                       {QStringLiteral("dbname"), dbname}},
                      [resultHandler = std::move(resultHandler)](const mHttpJsonResult &r) {
                          resultHandler(toResultBase(r));
                      });
}

void api_word_class::getAll(const QString &dbname, apiResultWordClasGetAllHandler resultHandler) {
    mHttp::postJsonRe(
        api_base::appendUrl(QStringLiteral("/api/word/class/getAll")), {{QStringLiteral("dbname"), dbname}},
        [resultHandler = std::move(resultHandler)](const mHttpJsonResult &r) {
            if (!r.isSuccess()) {
                resultHandler(apiResultWordClasGetAll::onError(r.text()));
                return;
            }
            const QJsonValue &json = r.json();
            if (json[QLatin1String("state")].toInt() != 1) {
                resultHandler(apiResultWordClasGetAll::onError(json[QLatin1String("msg")].toString()));
                return;
            }
            const QJsonArray items = json[QLatin1String("data")].toArray();
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
