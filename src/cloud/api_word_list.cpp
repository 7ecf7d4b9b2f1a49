#include "cloud/api_word_list.h"

#include "cloud/api_base.h"
#include "cloud/api_word_class.h"
#include "cloud/mhttp.h"
#include "model/wordlistjson.h"

#include <QJsonArray>
#include <QJsonObject>
#include <iostream>

void api_word_list::create(const QString &parentSign, const QString &label, const QString &jsonValue,
                           const QString &position, const QString &dbname,
                           apiResultCreateHandler resultHandler) {
    api_word_class::postForCreate(QStringLiteral("/api/word/list/create"),
                                  {{QStringLiteral("parentSign"), parentSign},
                                   {QStringLiteral("label"), label},
                                   {QStringLiteral("jsonValue"), jsonValue},
                                   {QStringLiteral("position"), position},
                                   {QStringLiteral("dbname"), dbname}},
                                  std::move(resultHandler));
}

void api_word_list::delete_(const QString &sign, const QString &dbname, ApiResultBaseHandler resultHandler) {
    api_word_class::postForBase(QStringLiteral("/api/word/list/del"),
                                {{QStringLiteral("sign"), sign}, {QStringLiteral("dbname"), dbname}},
                                std::move(resultHandler));
}

void api_word_list::upDate(const QString &newParentSign, const QString &sign, const QString &newLabel,
                           const QString &newJsonValue, const QString &dbname,
                           ApiResultBaseHandler resultHandler) {
    api_word_class::postForBase(QStringLiteral("/api/word/list/upValue"),
                                {{QStringLiteral("sign"), sign},
                                 {QStringLiteral("newParentSign"), newParentSign},
                                 {QStringLiteral("newLabel"), newLabel},
                                 {QStringLiteral("newJsonValue"), newJsonValue},
                                 {QStringLiteral("dbname"), dbname}},
                                std::move(resultHandler));
}

void api_word_list::swapPostion(const QString &sign1, const QString &sign2, const QString &dbname,
                                ApiResultBaseHandler resultHandler) {
    // The service's phrase path carries the same misspelling as the operation.
    api_word_class::postForBase(QStringLiteral("/api/word/list/swapPostion"),
                                {{QStringLiteral("sign1"), sign1},
                                 {QStringLiteral("sign2"), sign2},
                                 {QStringLiteral("dbname"), dbname}},
                                std::move(resultHandler));
}

void api_word_list::getAll(const QString &dbname, apiResultWordListGetAllHandler resultHandler) {
    mHttp::postJsonRe(api_base::appendUrl(QStringLiteral("/api/word/list/getAll")),
                      {{QStringLiteral("dbname"), dbname}},
                      [resultHandler = std::move(resultHandler)](const mHttpJsonResult &r) {
                          if (const std::optional<QString> error = api_word_class::replyError(r)) {
                              resultHandler(apiResultWordListGetAll::onError(*error));
                              return;
                          }
                          const QJsonArray items = r.json()[QLatin1String("data")].toArray();
                          if (items.isEmpty())
                              api_base::endProgram(QStringLiteral(
                                  "致命错误: 服务返回的词条列表为空 (/api/word/list/getAll), 程序退出"));
                          QList<DataWordList> data;
                          data.reserve(items.size());
                          for (const QJsonValue &item : items)
                              data.append(DataWordList::fromJson(item.toObject()));
                          resultHandler(apiResultWordListGetAll::onSuccess(std::move(data)));
                      });
}

void api_word_list::getAll1(const QString &dbname, apiResultWordListGetAllHandler resultHandler) {
    mHttp::postString(api_base::appendUrl(QStringLiteral("/api/word/list/getAll")),
                      {{QStringLiteral("dbname"), dbname}},
                      [resultHandler = std::move(resultHandler)](const mHttpJsonResultS &r) {
                          if (!r.isSuccess()) {
                              resultHandler(apiResultWordListGetAll::onError(r.text()));
                              return;
                          }
                          std::optional<WordListJson> reply = WordListJson::fromText(r.text().toUtf8());
                          if (!reply)
                              return; // deliberately silent: the caller is never called
                          if (reply->state != 1) {
                              resultHandler(apiResultWordListGetAll::onError(reply->msg));
                              return;
                          }
                          std::cout << "词条数量 " << reply->data.size() << std::endl;
                          resultHandler(apiResultWordListGetAll::onSuccess(std::move(reply->data)));
                      });
}
