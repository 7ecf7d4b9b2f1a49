#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Plain records traded between the endpoints and a storage back-end.

struct UserRecord {
    std::int64_t id = 0;
    std::string name; // stored spelling
    std::string passwordHash;
};

struct ClassRecord {
    std::int64_t id = 0;
    std::string sign;
    std::string label;
    std::int64_t position = 0;
};

struct PhraseRecord {
    std::int64_t id = 0;
    std::string parentSign;
    std::string sign;
    std::string label;
    std::string jsonValue;
    std::string texts;
    std::string images;
    std::int64_t position = 0;
};

// Outcome of a change; the endpoints turn each case into a message.
enum class StoreStatus {
    Ok,
    NotFound,       // a sign (or the parent) is not in the user's library
    LastClass,      // the change would leave the user without a class
    Exists,         // a unique name is taken
    DifferentBytes, // a picture of that name exists with other content
    LastOwner,      // the change would leave a team without an owner
};

struct LoginGuardState {
    std::int64_t failures = 0;
    std::int64_t windowStart = 0;
    std::int64_t lockedUntil = 0;
};

// What a member may do with a team library; a personal library is its account's as Owner.
enum class TeamRole { Agent = 1, Editor = 2, Owner = 3 };

// A library an account may use.
struct LibraryGrant {
    std::int64_t id = 0; // the library's row among the accounts
    std::string name;    // its "dbname"
    bool team = false;
    TeamRole role = TeamRole::Owner;
    std::int64_t version = 0;
};

struct TeamMember {
    std::int64_t userId = 0;
    std::string name;
    TeamRole role = TeamRole::Agent;
};

struct TeamRecord {
    std::int64_t id = 0;
    std::string name;
    std::vector<TeamMember> members;
};

// What changed in a library after a version the client holds.
struct LibraryChanges {
    std::int64_t version = 0;
    bool full = false; // the changes since that version are not known: every phrase is listed
    std::vector<ClassRecord> classes;
    std::vector<PhraseRecord> phrases;
    std::vector<std::string> deleted; // phrase signs
};

// Sends of a team's phrases, from the counts members report.
struct PhraseUsage {
    std::string sign;
    std::string label;
    std::string classLabel;
    std::int64_t recentSends = 0; // on or after the day asked for
    std::int64_t lastDay = -1;    // days since the epoch; -1: never reported
};

struct MemberUsage {
    std::string name;
    TeamRole role = TeamRole::Agent;
    std::int64_t recentSends = 0;
    std::int64_t allSends = 0;
};

struct TeamUsage {
    std::vector<PhraseUsage> phrases; // every phrase of the library, in library order
    std::vector<MemberUsage> members;
};

// A committed change other parts of the service may have to hear about, from this process or
// another one on the same database.
struct ChangeNotice {
    enum class Kind {
        Version,   // library `id` is now at `version`
        Libraries, // account `id` gained a library or a role
        Revoked,   // account `id` lost a library or a role
    };
    Kind kind = Kind::Version;
    std::int64_t id = 0;
    std::int64_t version = 0;
};
