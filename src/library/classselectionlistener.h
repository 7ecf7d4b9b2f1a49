#pragma once

#include "model/phraseclass.h"

#include <optional>

// Told when the selected class changes; absent when no class is selected.
class ClassSelectionListener {
public:
    virtual ~ClassSelectionListener() = default;
    virtual void onSelectionChange(const std::optional<PhraseClass> &data) = 0;
};
