#include "cloud/classoperations.h"

#include "cloud/cloudclient.h"
#include "model/logging.h"
#include "store/classstore.h"

#include <QPointer>

ClassOperations::ClassOperations(ClassStore &store, CloudClient &cloud, QString username)
    : store_(store), cloud_(cloud), username_(std::move(username)) {}

// Each reply checks that the store is still there: the session that owns it may have ended.
void ClassOperations::create(const QString &label, OperationCallback callback) {
    const qint64 position = store_.getMaxPosition(username_);
    QPointer<ClassStore> store(&store_);
    cloud_.createClass(label, QString::number(position), username_,
                       [store, label, position, username = username_, callback](const Result<QString> &r) {
                           if (!store)
                               return;
                           if (!r) {
                               qCWarning(lcLibrary, "%s", qUtf8Printable(r.error()));
                               if (callback)
                                   callback(Result<void>::failure(r.error()));
                               return;
                           }
                           // A team's change stream may have brought the new class first.
                           if (!store->getData(r.value()))
                               store->create(r.value(), label, position, username);
                           if (callback)
                               callback(Result<void>::success());
                       });
}

void ClassOperations::setLabel(const QString &sign, const QString &newLabel) {
    QPointer<ClassStore> store(&store_);
    cloud_.renameClass(sign, newLabel, username_, [store, sign, newLabel](const Result<void> &r) {
        if (r && store)
            store->setLabel(sign, newLabel);
    });
}

void ClassOperations::swapPositions(const QString &sign1, const QString &sign2) {
    QPointer<ClassStore> store(&store_);
    cloud_.swapClasses(sign1, sign2, username_, [store, sign1, sign2](const Result<void> &r) {
        if (!r)
            qCWarning(lcLibrary, "%s", qUtf8Printable(r.error()));
        else if (store)
            store->swapPositions(sign1, sign2);
    });
}

void ClassOperations::remove(const QString &signOrAll) {
    QPointer<ClassStore> store(&store_);
    cloud_.removeClass(signOrAll, username_, [store, signOrAll](const Result<void> &r) {
        if (r && store)
            store->removeSigns(signOrAll);
    });
}
