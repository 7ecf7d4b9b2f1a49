#pragma once

#include "model/datawordlist.h"

// Told by a phrase row about the user's clicks; indexPath is the row.
class cell_word_list_delegate {
public:
    virtual ~cell_word_list_delegate() = default;
    virtual void onMouseRightDow(int indexPath, const DataWordList &data) = 0;
    virtual void onSendButtonClick(int indexPath, const DataWordList &data) = 0;
    virtual void onDbClick(int indexPath, const DataWordList &data) = 0;
};
