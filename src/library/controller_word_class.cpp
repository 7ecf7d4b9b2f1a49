#include "library/controller_word_class.h"

#include "cloud/api_word_class.h"
#include "model/contentformat.h"

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
        const std::optional<DataWordClass> a = db().getData(sign1);
        const std::optional<DataWordClass> b = db().getData(sign2);
        if (a && b) {
            db().setPosition(sign1, b->position);
            db().setPosition(sign2, a->position);
        }
        setDataChange();
    });
}

void controller_word_class::delete_(const QString &signOrAll, const QString &username) {
    api_word_class::delete_(signOrAll, username, [signOrAll](const ApiResultBase &r) {
        if (!r.isOk())
            return;
        if (signOrAll.contains(QLatin1Char('|'))) {
            for (const QString &sign : split(signOrAll, QStringLiteral("|")))
                db().delete_(sign);
        } else {
            db().delete_(signOrAll);
        }
        setDataChange();
    });
}

void controller_word_class::setDataChange() {
    if (sourceChangeDelegate)
        sourceChangeDelegate->onChange();
    if (sourceChangeDelegateTemp)
        sourceChangeDelegateTemp->onChange();
}
