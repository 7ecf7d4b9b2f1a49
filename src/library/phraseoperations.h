#pragma once

#include "model/operationresult.h"

#include <QString>

class PhraseStore;

// Phrase changes of the signed-in user: the service first, the local table only after it accepted.
// Call from the GUI thread.
class PhraseOperations {
public:
    PhraseOperations(PhraseStore &store, QString username);

    void create(const QString &parentSign, const QString &label, const QString &jsonValue,
                OperationCallback resultHandler);
    void updateValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                     const QString &newJsonValue, OperationCallback resultHandler);
    void swapPositions(const QString &sign1, const QString &sign2);
    // `delete` is a keyword; remove is the nearest legal name. signOrAll is one sign or "a|b|".
    void remove(const QString &signOrAll);

    const QString &username() const { return username_; }

private:
    PhraseStore &store_;
    QString username_;
};
