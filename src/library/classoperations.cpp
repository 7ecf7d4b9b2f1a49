#include "library/classoperations.h"

#include "cloud/classapi.h"
#include "model/logging.h"
#include "store/classstore.h"

#include <QPointer>

ClassOperations::ClassOperations(ClassStore &store, QString username)
    : store_(store), username_(std::move(username)) {}

void ClassOperations::create(const QString &label, OperationCallback callback) {
    const qint64 position = store_.getMaxPosition(username_);
    QPointer<ClassStore> store(&store_);
    ClassApi::create(label, QString::number(position), username_,
                     [store, label, position, username = username_, callback](const CreateResult &r) {
                         if (!store)
                             return; // the session ended before the reply
                         if (!r.isSuccess()) {
                             qCWarning(lcLibrary, "%s", qUtf8Printable(r.msg()));
                             if (callback)
                                 callback(OperationResult::error(r.msg()));
                             return;
                         }
                         store->create(r.sign(), label, position, username);
                         if (callback)
                             callback(OperationResult::success());
                     });
}

void ClassOperations::setLabel(const QString &sign, const QString &newLabel) {
    QPointer<ClassStore> store(&store_);
    ClassApi::upLabel(sign, newLabel, username_, [store, sign, newLabel](const CallResult &r) {
        if (r.isOk() && store)
            store->setLabel(sign, newLabel);
    });
}

void ClassOperations::swapPositions(const QString &sign1, const QString &sign2) {
    QPointer<ClassStore> store(&store_);
    ClassApi::swapPositions(sign1, sign2, username_, [store, sign1, sign2](const CallResult &r) {
        if (!r.isOk()) {
            qCWarning(lcLibrary, "%s", qUtf8Printable(r.msg()));
            return;
        }
        if (store)
            store->swapPositions(sign1, sign2);
    });
}

void ClassOperations::remove(const QString &signOrAll) {
    QPointer<ClassStore> store(&store_);
    ClassApi::remove(signOrAll, username_, [store, signOrAll](const CallResult &r) {
        if (r.isOk() && store)
            store->removeSigns(signOrAll);
    });
}
