#pragma once

// Told after every change of the class table.
class controller_word_class_delegate {
public:
    virtual ~controller_word_class_delegate() = default;
    virtual void onChange() = 0;
};
