#include "library/controller_word_list.h"

#include "cloud/api_word_list.h"
#include "library/controller_rows.h"

db_word_list &controller_word_list::db() {
    static db_word_list shared;
    return shared;
}

void controller_word_list::create(const QString &parenSign, const QString &label, const QString &jsonValue,
                                  const QString &username, DataResultCallback resultHandler) {
    const qint64 position = db().getMaxPosition(parenSign);
    api_word_list::create(parenSign, label, jsonValue, QString::number(position), username,
                          [=](const apiResultCreate &r) {
                              if (!r.isSuccess()) {
                                  if (resultHandler)
                                      resultHandler(DataResult::error(r.msg()));
                                  return;
                              }
                              db().create(parenSign, r.sign(), label, jsonValue, position, username);
                              if (resultHandler)
                                  resultHandler(DataResult::success());
                              setDataChange();
                          });
}

void controller_word_list::udValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                                   const QString &newJsonValue, const QString &username,
                                   DataResultCallback resultHandler) {
    api_word_list::upDate(newParentSign, sign, newLabel, newJsonValue, username, [=](const ApiResultBase &r) {
        if (!r.isOk()) {
            if (resultHandler)
                resultHandler(DataResult::error(r.msg()));
            return;
        }
        db().setValue(newParentSign, sign, newLabel, newJsonValue);
        setDataChange();
        if (resultHandler)
            resultHandler(DataResult::success());
    });
}

void controller_word_list::swapPostion(const QString &sign1, const QString &sign2, const QString &username) {
    api_word_list::swapPostion(sign1, sign2, username, [sign1, sign2](const ApiResultBase &r) {
        if (!r.isOk())
            return;
        controller_rows::swapPositions(db(), sign1, sign2);
        setDataChange();
    });
}

void controller_word_list::delete_(const QString &signOrAll, const QString &username) {
    api_word_list::delete_(signOrAll, username, [signOrAll](const ApiResultBase &r) {
        if (!r.isOk())
            return;
        controller_rows::deleteSigns(db(), signOrAll);
        setDataChange();
    });
}

void controller_word_list::setDataChange() {
    if (delegate)
        delegate->onDataChange();
    if (sourceChangeDelegateTemp)
        sourceChangeDelegateTemp->onDataChange();
    if (sourceChangeDelegateSettng)
        sourceChangeDelegateSettng->onDataChange();
}
