#pragma once

// Told by a class cell when it is right-clicked.
class cell_word_class_delegate {
public:
    virtual ~cell_word_class_delegate() = default;
    virtual void onMouseRightDow(int indexPath) = 0;
};
