#pragma once

// Told after every change of the phrase table.
class controller_word_list_delegate {
public:
    virtual ~controller_word_list_delegate() = default;
    virtual void onDataChange() = 0;
};
