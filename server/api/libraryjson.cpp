#include "api/libraryjson.h"

namespace LibraryJson {

nlohmann::json classItem(const ClassRecord &c, const std::string &libraryName) {
    return {{"id", c.id},
            {"sign", c.sign},
            {"label", c.label},
            {"position", c.position},
            {"username", libraryName}};
}

nlohmann::json phraseItem(const PhraseRecord &p, const std::string &libraryName) {
    return {{"id", p.id},
            {"parentSign", p.parentSign},
            {"sign", p.sign},
            {"label", p.label},
            {"jsonValue", p.jsonValue},
            {"texts", p.texts},
            {"images", p.images},
            {"position", p.position},
            {"username", libraryName},
            {"keycode", ""},
            {"bgColor", ""}};
}

} // namespace LibraryJson
