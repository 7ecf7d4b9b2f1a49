#pragma once

#include "cloud/apiresultlist.h"
#include "model/datawordclass.h"

// Outcome of fetching every class of a library.
using apiResultWordClasGetAll = ApiResultList<DataWordClass>;
using apiResultWordClasGetAllHandler = std::function<void(const apiResultWordClasGetAll &)>;
