#pragma once

#include "cloud/listresult.h"
#include "model/phraseclass.h"

// Outcome of fetching every class of a library.
using ClassListResult = ListResult<PhraseClass>;
using ClassListHandler = std::function<void(const ClassListResult &)>;
