#pragma once

#include <iosfwd>
#include <string>
#include <vector>

class Storage;

// `quillora-cloud team …`: teams managed from the command line, beside a running service (its
// streams hear of every change). Each returns the process exit status.
class TeamCommands {
public:
    // words: the sub-command and its arguments, options removed; csv: `usage` prints CSV.
    static int run(Storage &storage, const std::vector<std::string> &words, bool csv, std::ostream &out);
};
