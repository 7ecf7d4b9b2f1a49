#include "library/phraseoperations.h"

#include "cloud/phraseapi.h"
#include "store/phrasestore.h"

#include <QPointer>

PhraseOperations::PhraseOperations(PhraseStore &store, QString username)
    : store_(store), username_(std::move(username)) {}

void PhraseOperations::create(const QString &parentSign, const QString &label, const QString &jsonValue,
                              OperationCallback resultHandler) {
    const qint64 position = store_.getMaxPosition(parentSign);
    QPointer<PhraseStore> store(&store_);
    PhraseApi::create(parentSign, label, jsonValue, QString::number(position), username_,
                      [=, username = username_](const CreateResult &r) {
                          if (!store)
                              return; // the session ended before the reply
                          if (!r.isSuccess()) {
                              if (resultHandler)
                                  resultHandler(OperationResult::error(r.msg()));
                              return;
                          }
                          store->create(parentSign, r.sign(), label, jsonValue, position, username);
                          if (resultHandler)
                              resultHandler(OperationResult::success());
                      });
}

void PhraseOperations::updateValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                                   const QString &newJsonValue, OperationCallback resultHandler) {
    QPointer<PhraseStore> store(&store_);
    PhraseApi::updateClass(newParentSign, sign, newLabel, newJsonValue, username_, [=](const CallResult &r) {
        if (!store)
            return;
        if (!r.isOk()) {
            if (resultHandler)
                resultHandler(OperationResult::error(r.msg()));
            return;
        }
        store->setValue(newParentSign, sign, newLabel, newJsonValue);
        if (resultHandler)
            resultHandler(OperationResult::success());
    });
}

void PhraseOperations::swapPositions(const QString &sign1, const QString &sign2) {
    QPointer<PhraseStore> store(&store_);
    PhraseApi::swapPositions(sign1, sign2, username_, [store, sign1, sign2](const CallResult &r) {
        if (r.isOk() && store)
            store->swapPositions(sign1, sign2);
    });
}

void PhraseOperations::remove(const QString &signOrAll) {
    QPointer<PhraseStore> store(&store_);
    PhraseApi::remove(signOrAll, username_, [store, signOrAll](const CallResult &r) {
        if (r.isOk() && store)
            store->removeSigns(signOrAll);
    });
}
