#pragma once

#include <iosfwd>
#include <string>

class Storage;

// The command-line sub-commands that manage accounts. Each returns the process exit status.
class AdminCommands {
public:
    // Passwords come from the first line of `in`, never from the command line.
    static int addUser(Storage &storage, const std::string &name, std::istream &in);
    static int changePassword(Storage &storage, const std::string &name, std::istream &in);
    // A demo account with a few classes, phrases and one picture; prints its name and password.
    static int demo(Storage &storage);
};
