#pragma once

#include "storage/storagerecords.h"

#include <nlohmann/json.hpp>

#include <string>

// Classes and phrases as the client reads them ("getAll"), wherever they are sent.
namespace LibraryJson {

nlohmann::json classItem(const ClassRecord &c, const std::string &libraryName);
nlohmann::json phraseItem(const PhraseRecord &p, const std::string &libraryName);

} // namespace LibraryJson
