#include "library/phraseoperations.h"

#include "cloud/phraseapi.h"
#include "library/storefollowups.h"

void PhraseOperations::create(const QString &parentSign, const QString &label, const QString &jsonValue,
                              const QString &username, OperationCallback resultHandler) {
    const qint64 position = PhraseStore::shared().getMaxPosition(parentSign);
    PhraseApi::create(
        parentSign, label, jsonValue, QString::number(position), username, [=](const CreateResult &r) {
            if (!r.isSuccess()) {
                if (resultHandler)
                    resultHandler(OperationResult::error(r.msg()));
                return;
            }
            PhraseStore::shared().create(parentSign, r.sign(), label, jsonValue, position, username);
            if (resultHandler)
                resultHandler(OperationResult::success());
            PhraseStore::notifyChanged();
        });
}

void PhraseOperations::updateValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                                   const QString &newJsonValue, const QString &username,
                                   OperationCallback resultHandler) {
    PhraseApi::updateClass(newParentSign, sign, newLabel, newJsonValue, username, [=](const CallResult &r) {
        if (!r.isOk()) {
            if (resultHandler)
                resultHandler(OperationResult::error(r.msg()));
            return;
        }
        PhraseStore::shared().setValue(newParentSign, sign, newLabel, newJsonValue);
        PhraseStore::notifyChanged();
        if (resultHandler)
            resultHandler(OperationResult::success());
    });
}

void PhraseOperations::swapPositions(const QString &sign1, const QString &sign2, const QString &username) {
    PhraseApi::swapPositions(sign1, sign2, username, [sign1, sign2](const CallResult &r) {
        if (!r.isOk())
            return;
        StoreFollowUps::swapPositions(PhraseStore::shared(), sign1, sign2);
        PhraseStore::notifyChanged();
    });
}

void PhraseOperations::remove(const QString &signOrAll, const QString &username) {
    PhraseApi::remove(signOrAll, username, [signOrAll](const CallResult &r) {
        if (!r.isOk())
            return;
        StoreFollowUps::deleteSigns(PhraseStore::shared(), signOrAll);
        PhraseStore::notifyChanged();
    });
}
