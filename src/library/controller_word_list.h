#pragma once

#include "library/controller_word_list_delegate.h"
#include "model/dataresult.h"
#include "store/db_word_list.h"

#include <QString>

// Phrase changes: the service first, the local table only after it accepted, then the listeners.
// Call from the GUI thread.
class controller_word_list {
public:
    controller_word_list() = delete;

    static db_word_list &db();
    // A view that sets itself here must clear the slot before it goes away.
    static inline controller_word_list_delegate *delegate = nullptr;
    static inline controller_word_list_delegate *sourceChangeDelegateTemp = nullptr;
    static inline controller_word_list_delegate *sourceChangeDelegateSettng = nullptr;

    // The completion comes before the change notice here, unlike udValue.
    static void create(const QString &parenSign, const QString &label, const QString &jsonValue,
                       const QString &username, DataResultCallback resultHandler);
    static void udValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                        const QString &newJsonValue, const QString &username,
                        DataResultCallback resultHandler);
    static void swapPostion(const QString &sign1, const QString &sign2, const QString &username);
    // `delete` is a keyword; delete_ is the nearest legal name. signOrAll is one sign or "a|b|".
    static void delete_(const QString &signOrAll, const QString &username);
    static void setDataChange();
};
