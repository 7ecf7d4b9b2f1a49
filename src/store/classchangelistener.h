#pragma once

// Told after every change of the class table.
class ClassChangeListener {
public:
    virtual ~ClassChangeListener() = default;
    virtual void onChange() = 0;
};
