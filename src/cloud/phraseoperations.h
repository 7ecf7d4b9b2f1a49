#pragma once

#include "model/phrasecontent.h"
#include "model/result.h"

#include <QString>

class CloudClient;
class PhraseStore;

// Phrase changes of the signed-in user: the service first, the local table only after it accepted.
// Call from the GUI thread.
class PhraseOperations {
public:
    PhraseOperations(PhraseStore &store, CloudClient &cloud, QString username);

    void create(const QString &parentSign, const QString &label, const PhraseContent &content,
                OperationCallback resultHandler);
    void updateValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                     const PhraseContent &newContent, OperationCallback resultHandler);
    void swapPositions(const QString &sign1, const QString &sign2);
    // `delete` is a keyword; remove is the nearest legal name. signOrAll is one sign or "a|b|".
    void remove(const QString &signOrAll);

    const QString &username() const { return username_; }
    // Where a phrase's pictures go before the phrase is written.
    CloudClient &cloud() const { return cloud_; }

private:
    PhraseStore &store_;
    CloudClient &cloud_;
    QString username_;
};
