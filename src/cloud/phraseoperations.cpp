#include "cloud/phraseoperations.h"

#include "cloud/cloudclient.h"
#include "store/phrasestore.h"

#include <QPointer>

PhraseOperations::PhraseOperations(PhraseStore &store, CloudClient &cloud, QString username)
    : store_(store), cloud_(cloud), username_(std::move(username)) {}

// Each reply checks that the store is still there: the session that owns it may have ended.
void PhraseOperations::create(const QString &parentSign, const QString &label, const PhraseContent &content,
                              OperationCallback resultHandler) {
    const qint64 position = store_.getMaxPosition(parentSign);
    QPointer<PhraseStore> store(&store_);
    cloud_.createPhrase(parentSign, label, content.toJson(), QString::number(position), username_,
                        [=, username = username_](const Result<QString> &r) {
                            if (!store)
                                return;
                            if (!r) {
                                if (resultHandler)
                                    resultHandler(Result<void>::failure(r.error()));
                                return;
                            }
                            store->create(parentSign, r.value(), label, content, position, username);
                            if (resultHandler)
                                resultHandler(Result<void>::success());
                        });
}

void PhraseOperations::updateValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                                   const PhraseContent &newContent, OperationCallback resultHandler) {
    QPointer<PhraseStore> store(&store_);
    cloud_.updatePhrase(newParentSign, sign, newLabel, newContent.toJson(), username_,
                        [=](const Result<void> &r) {
                            if (!store)
                                return;
                            if (r)
                                store->setValue(newParentSign, sign, newLabel, newContent);
                            if (resultHandler)
                                resultHandler(r);
                        });
}

void PhraseOperations::swapPositions(const QString &sign1, const QString &sign2) {
    QPointer<PhraseStore> store(&store_);
    cloud_.swapPhrases(sign1, sign2, username_, [store, sign1, sign2](const Result<void> &r) {
        if (r && store)
            store->swapPositions(sign1, sign2);
    });
}

void PhraseOperations::remove(const QString &signOrAll) {
    QPointer<PhraseStore> store(&store_);
    cloud_.removePhrase(signOrAll, username_, [store, signOrAll](const Result<void> &r) {
        if (r && store)
            store->removeSigns(signOrAll);
    });
}
