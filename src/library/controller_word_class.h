#pragma once

#include "library/controller_word_class_delegate.h"
#include "model/dataresult.h"
#include "store/db_word_class.h"

#include <QString>

// Class changes: the service first, the local table only after it accepted, then the listeners.
// Call from the GUI thread.
class controller_word_class {
public:
    controller_word_class() = delete;

    static db_word_class &db();
    // A view that sets itself here must clear the slot before it goes away.
    static inline controller_word_class_delegate *sourceChangeDelegate = nullptr;
    static inline controller_word_class_delegate *sourceChangeDelegateTemp = nullptr;

    static void create(const QString &label, const QString &username, DataResultCallback callback);
    static void setLabel(const QString &sign, const QString &newLabel, const QString &username);
    static void swapPostion(const QString &sign1, const QString &sign2, const QString &username);
    // `delete` is a keyword; delete_ is the nearest legal name. signOrAll is one sign or "a|b|".
    static void delete_(const QString &signOrAll, const QString &username);
    static void setDataChange();
};
