#pragma once

#include "model/phrase.h"

// Told by a phrase row about the user's clicks; indexPath is the row.
class PhraseRowListener {
public:
    virtual ~PhraseRowListener() = default;
    virtual void onRightClick(int indexPath, const Phrase &data) = 0;
    virtual void onSendButtonClick(int indexPath, const Phrase &data) = 0;
    virtual void onDoubleClick(int indexPath, const Phrase &data) = 0;
};
