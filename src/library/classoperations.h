#pragma once

#include "model/operationresult.h"
#include "store/classstore.h"

#include <QString>

// Class changes: the service first, the local table only after it accepted, then the listeners.
// Call from the GUI thread.
class ClassOperations {
public:
    ClassOperations() = delete;

    static void create(const QString &label, const QString &username, OperationCallback callback);
    static void setLabel(const QString &sign, const QString &newLabel, const QString &username);
    static void swapPositions(const QString &sign1, const QString &sign2, const QString &username);
    // `delete` is a keyword; remove is the nearest legal name. signOrAll is one sign or "a|b|".
    static void remove(const QString &signOrAll, const QString &username);
};
