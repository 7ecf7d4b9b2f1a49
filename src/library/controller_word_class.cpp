#include "library/controller_word_class.h"

#include "cloud/api_word_class.h"
#include "library/controller_rows.h"

#include <iostream>

db_word_class &controller_word_class::db() {
    static db_word_class shared;
    return shared;
}

void controller_word_class::create(const QString &label, const QString &username,
                                   DataResultCallback callback) {
    const qint64 position = db().getMaxPosition(username);
    api_word_class::create(label, QString::number(position), username,
                           [label, position, username, callback](const apiResultCreate &r) {
                               if (!r.isSuccess()) {
                                   std::cout << r.msg().toStdString() << std::endl;
                                   if (callback)
                                       callback(DataResult::error(r.msg()));
                                   return;
                               }
                               db().create(r.sign(), label, position, username);
                               setDataChange();
                               if (callback)
                                   callback(DataResult::success());
                           });
}

void controller_word_class::setLabel(const QString &sign, const QString &newLabel, const QString &username) {
    api_word_class::upLabel(sign, newLabel, username, [sign, newLabel](const ApiResultBase &r) {
        if (!r.isOk())
            return;
        db().setLabel(sign, newLabel);
        setDataChange();
    });
}

void controller_word_class::swapPostion(const QString &sign1, const QString &sign2, const QString &username) {
    api_word_class::swapPostion(sign1, sign2, username, [sign1, sign2](const ApiResultBase &r) {
        if (!r.isOk()) {
            std::cout << r.msg().toStdString() << std::endl;
            return;
        }
        controller_rows::swapPositions(db(), sign1, sign2);
        setDataChange();
    });
}

void controller_word_class::delete_(const QString &signOrAll, const QString &username) {
    api_word_class::delete_(signOrAll, username, [signOrAll](const ApiResultBase &r) {
        if (!r.isOk())
            return;
        controller_rows::deleteSigns(db(), signOrAll);
        setDataChange();
    });
}

void controller_word_class::setDataChange() {
    if (sourceChangeDelegate)
        sourceChangeDelegate->onChange();
    if (sourceChangeDelegateTemp)
        sourceChangeDelegateTemp->onChange();
}
