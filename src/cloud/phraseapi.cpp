#include "cloud/phraseapi.h"

#include "cloud/classapi.h"
#include "cloud/httptransport.h"
#include "cloud/serviceapi.h"
#include "model/phraselistreply.h"

#include <QJsonArray>
#include <QJsonObject>
#include <iostream>

void PhraseApi::create(const QString &parentSign, const QString &label, const QString &jsonValue,
                       const QString &position, const QString &dbname, CreateHandler resultHandler) {
    ClassApi::postForCreate(QStringLiteral("/api/word/list/create"),
                            {{QStringLiteral("parentSign"), parentSign},
                             {QStringLiteral("label"), label},
                             {QStringLiteral("jsonValue"), jsonValue},
                             {QStringLiteral("position"), position},
                             {QStringLiteral("dbname"), dbname}},
                            std::move(resultHandler));
}

void PhraseApi::remove(const QString &sign, const QString &dbname, CallHandler resultHandler) {
    ClassApi::postForBase(QStringLiteral("/api/word/list/del"),
                          {{QStringLiteral("sign"), sign}, {QStringLiteral("dbname"), dbname}},
                          std::move(resultHandler));
}

void PhraseApi::updateClass(const QString &newParentSign, const QString &sign, const QString &newLabel,
                            const QString &newJsonValue, const QString &dbname, CallHandler resultHandler) {
    ClassApi::postForBase(QStringLiteral("/api/word/list/upValue"),
                          {{QStringLiteral("sign"), sign},
                           {QStringLiteral("newParentSign"), newParentSign},
                           {QStringLiteral("newLabel"), newLabel},
                           {QStringLiteral("newJsonValue"), newJsonValue},
                           {QStringLiteral("dbname"), dbname}},
                          std::move(resultHandler));
}

void PhraseApi::swapPositions(const QString &sign1, const QString &sign2, const QString &dbname,
                              CallHandler resultHandler) {
    // The service's path keeps its historical spelling.
    ClassApi::postForBase(QStringLiteral("/api/word/list/swapPostion"),
                          {{QStringLiteral("sign1"), sign1},
                           {QStringLiteral("sign2"), sign2},
                           {QStringLiteral("dbname"), dbname}},
                          std::move(resultHandler));
}

void PhraseApi::getAll(const QString &dbname, PhraseListHandler resultHandler) {
    HttpTransport::postJsonRe(
        ServiceApi::appendUrl(QStringLiteral("/api/word/list/getAll")), {{QStringLiteral("dbname"), dbname}},
        [resultHandler = std::move(resultHandler)](const JsonReply &r) {
            if (const std::optional<QString> error = ClassApi::replyError(r)) {
                resultHandler(PhraseListResult::onError(*error));
                return;
            }
            const QJsonArray items = r.json()[QLatin1String("data")].toArray();
            if (items.isEmpty())
                ServiceApi::endProgram(
                    QStringLiteral("致命错误: 服务返回的词条列表为空 (/api/word/list/getAll), 程序退出"));
            QList<Phrase> data;
            data.reserve(items.size());
            for (const QJsonValue &item : items)
                data.append(Phrase::fromJson(item.toObject()));
            resultHandler(PhraseListResult::onSuccess(std::move(data)));
        });
}

void PhraseApi::getAll1(const QString &dbname, PhraseListHandler resultHandler) {
    HttpTransport::postString(
        ServiceApi::appendUrl(QStringLiteral("/api/word/list/getAll")), {{QStringLiteral("dbname"), dbname}},
        [resultHandler = std::move(resultHandler)](const TextReply &r) {
            if (!r.isSuccess()) {
                resultHandler(PhraseListResult::onError(r.text()));
                return;
            }
            std::optional<PhraseListReply> reply = PhraseListReply::fromText(r.text().toUtf8());
            if (!reply)
                return; // deliberately silent: the caller is never called
            if (reply->state != 1) {
                resultHandler(PhraseListResult::onError(reply->msg));
                return;
            }
            std::cout << "词条数量 " << reply->data.size() << std::endl;
            resultHandler(PhraseListResult::onSuccess(std::move(reply->data)));
        });
}
