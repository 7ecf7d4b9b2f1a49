#pragma once

#include "cloud/listresult.h"
#include "model/phrase.h"

// Outcome of fetching every phrase of a library.
using PhraseListResult = ListResult<Phrase>;
using PhraseListHandler = std::function<void(const PhraseListResult &)>;
