#pragma once

// Told by a class cell when it is right-clicked.
class ClassCellListener {
public:
    virtual ~ClassCellListener() = default;
    virtual void onRightClick(int indexPath) = 0;
};
