#pragma once

#include <string_view>

struct sqlite3;

// SQLite's LIKE without ESCAPE, done faster: "%" any run of characters, "_" one character, ASCII
// letters compared without case, every other character exactly. Texts are UTF-8 as the store writes
// them. The common search pattern "%word%" becomes a plain substring search.
bool likeMatch(std::string_view pattern, std::string_view text);

// Makes two-argument LIKE on this connection use likeMatch. The results are those of the built-in one.
void installLike(sqlite3 *db);
