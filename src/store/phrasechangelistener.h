#pragma once

// Told after every change of the phrase table.
class PhraseChangeListener {
public:
    virtual ~PhraseChangeListener() = default;
    virtual void onDataChange() = 0;
};
