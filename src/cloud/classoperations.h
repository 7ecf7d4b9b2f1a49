#pragma once

#include "model/result.h"

#include <QString>

class ClassStore;
class CloudClient;

// Class changes of the signed-in user: the service first, the local table only after it accepted.
// Call from the GUI thread.
class ClassOperations {
public:
    ClassOperations(ClassStore &store, CloudClient &cloud, QString username);

    void create(const QString &label, OperationCallback callback);
    void setLabel(const QString &sign, const QString &newLabel);
    void swapPositions(const QString &sign1, const QString &sign2);
    // `delete` is a keyword; remove is the nearest legal name. signOrAll is one sign or "a|b|".
    void remove(const QString &signOrAll);

    const QString &username() const { return username_; }

private:
    ClassStore &store_;
    CloudClient &cloud_;
    QString username_;
};
