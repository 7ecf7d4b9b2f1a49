#include "api/teamrolename.h"

namespace TeamRoleName {

const char *of(TeamRole role) {
    switch (role) {
    case TeamRole::Owner:
        return "owner";
    case TeamRole::Editor:
        return "editor";
    default:
        return "agent";
    }
}

std::optional<TeamRole> parse(const std::string &text) {
    for (const auto role : {TeamRole::Owner, TeamRole::Editor, TeamRole::Agent})
        if (text == of(role))
            return role;
    return std::nullopt;
}

} // namespace TeamRoleName
