#pragma once

#include "cloud/apiresultlist.h"
#include "model/datawordlist.h"

// Outcome of fetching every phrase of a library.
using apiResultWordListGetAll = ApiResultList<DataWordList>;
using apiResultWordListGetAllHandler = std::function<void(const apiResultWordListGetAll &)>;
