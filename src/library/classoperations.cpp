#include "library/classoperations.h"

#include "cloud/classapi.h"
#include "library/storefollowups.h"

#include <iostream>

void ClassOperations::create(const QString &label, const QString &username, OperationCallback callback) {
    const qint64 position = ClassStore::shared().getMaxPosition(username);
    ClassApi::create(label, QString::number(position), username,
                     [label, position, username, callback](const CreateResult &r) {
                         if (!r.isSuccess()) {
                             std::cout << r.msg().toStdString() << std::endl;
                             if (callback)
                                 callback(OperationResult::error(r.msg()));
                             return;
                         }
                         ClassStore::shared().create(r.sign(), label, position, username);
                         ClassStore::notifyChanged();
                         if (callback)
                             callback(OperationResult::success());
                     });
}

void ClassOperations::setLabel(const QString &sign, const QString &newLabel, const QString &username) {
    ClassApi::upLabel(sign, newLabel, username, [sign, newLabel](const CallResult &r) {
        if (!r.isOk())
            return;
        ClassStore::shared().setLabel(sign, newLabel);
        ClassStore::notifyChanged();
    });
}

void ClassOperations::swapPositions(const QString &sign1, const QString &sign2, const QString &username) {
    ClassApi::swapPositions(sign1, sign2, username, [sign1, sign2](const CallResult &r) {
        if (!r.isOk()) {
            std::cout << r.msg().toStdString() << std::endl;
            return;
        }
        StoreFollowUps::swapPositions(ClassStore::shared(), sign1, sign2);
        ClassStore::notifyChanged();
    });
}

void ClassOperations::remove(const QString &signOrAll, const QString &username) {
    ClassApi::remove(signOrAll, username, [signOrAll](const CallResult &r) {
        if (!r.isOk())
            return;
        StoreFollowUps::deleteSigns(ClassStore::shared(), signOrAll);
        ClassStore::notifyChanged();
    });
}
