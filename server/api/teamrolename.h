#pragma once

#include "storage/storagerecords.h"

#include <optional>
#include <string>

// Roles as the protocol, the team page and the command line spell them: owner, editor, agent.
namespace TeamRoleName {

const char *of(TeamRole role);
std::optional<TeamRole> parse(const std::string &text);

} // namespace TeamRoleName
