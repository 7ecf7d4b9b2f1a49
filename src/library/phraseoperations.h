#pragma once

#include "model/operationresult.h"
#include "store/phrasestore.h"

#include <QString>

// Phrase changes: the service first, the local table only after it accepted, then the listeners.
// Call from the GUI thread.
class PhraseOperations {
public:
    PhraseOperations() = delete;

    // The completion comes before the change notice here, unlike updateValue.
    static void create(const QString &parentSign, const QString &label, const QString &jsonValue,
                       const QString &username, OperationCallback resultHandler);
    static void updateValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                            const QString &newJsonValue, const QString &username,
                            OperationCallback resultHandler);
    static void swapPositions(const QString &sign1, const QString &sign2, const QString &username);
    // `delete` is a keyword; remove is the nearest legal name. signOrAll is one sign or "a|b|".
    static void remove(const QString &signOrAll, const QString &username);
};
