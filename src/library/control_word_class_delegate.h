#pragma once

#include "model/datawordclass.h"

#include <optional>

// Told when the selected class changes; absent when no class is selected.
class control_word_class_delegate {
public:
    virtual ~control_word_class_delegate() = default;
    virtual void onSelectChange(const std::optional<DataWordClass> &data) = 0;
};
