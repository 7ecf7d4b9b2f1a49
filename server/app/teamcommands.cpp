#include "app/teamcommands.h"

#include "api/accounts.h"
#include "api/serviceclock.h"
#include "api/teamrolename.h"
#include "log/servicelog.h"
#include "security/secrets.h"
#include "storage/storage.h"

#include <algorithm>
#include <optional>
#include <ostream>

namespace {

int fail(const std::string &problem) {
    ServiceLog::write("team: " + problem, ServiceLog::Stream::Error);
    return 1;
}

std::string csvField(const std::string &text) {
    if (text.find_first_of(",\"\n\r") == std::string::npos)
        return text;
    std::string out = "\"";
    for (const char c : text)
        out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

std::string describe(StoreStatus status, const std::string &team, const std::string &user) {
    switch (status) {
    case StoreStatus::Exists:
        return user.empty() ? "the name " + team + " is taken by an account or a team"
                            : user + " is already a member of " + team;
    case StoreStatus::NotFound:
        return user.empty() ? "no team " + team : user + " is no member of " + team;
    case StoreStatus::LastOwner:
        return team + " would be left without an owner";
    default:
        return "refused";
    }
}

struct Context {
    Storage &storage;
    std::ostream &out;

    // The record found, or nothing with the exit status of why not.
    template <typename T>
    static std::optional<T> found(const StorageResult<std::optional<T>> &result, const std::string &missing,
                                  int &status) {
        if (!result.ok()) {
            status = fail(result.error().message);
            return std::nullopt;
        }
        if (!*result)
            status = fail(missing);
        return *result;
    }
    std::optional<TeamRecord> team(const std::string &name, int &status) {
        return found(storage.team(Accounts::nameKey(name)), "no team " + name, status);
    }
    std::optional<UserRecord> account(const std::string &name, int &status) {
        return found(storage.findUser(Accounts::nameKey(name)), "no account " + name, status);
    }
    int done(const StorageResult<StoreStatus> &result, const std::string &team, const std::string &user,
             const std::string &said) {
        if (!result.ok())
            return fail(result.error().message);
        if (*result != StoreStatus::Ok)
            return fail(describe(*result, team, user));
        out << said << "\n";
        return 0;
    }
};

void printTeam(std::ostream &out, const TeamRecord &team) {
    out << team.name << "\n";
    for (const auto &m : team.members)
        out << "  " << m.name << " " << TeamRoleName::of(m.role) << "\n";
}

} // namespace

int TeamCommands::run(Storage &storage, const std::vector<std::string> &words, bool csv, std::ostream &out) {
    Context c{storage, out};
    const auto count = words.size();
    const std::string sub = count > 0 ? words[0] : "";
    int status = 0;
    if (sub == "create" && count == 3) {
        if (const auto problem = Accounts::checkName(words[1]))
            return fail(*problem);
        const auto owner = c.account(words[2], status);
        if (!owner)
            return status;
        return c.done(storage.createTeam(words[1], Accounts::nameKey(words[1]), owner->id,
                                         Secrets::randomHex128(), Accounts::firstClassLabel()),
                      words[1], "", "team " + words[1] + " created; owner " + owner->name);
    }
    if ((sub == "add" || sub == "role") && count == 4) {
        const auto role = TeamRoleName::parse(words[3]);
        if (!role)
            return fail("ROLE is owner, editor or agent");
        const auto team = c.team(words[1], status);
        if (!team)
            return status;
        const auto user = c.account(words[2], status);
        if (!user)
            return status;
        return c.done(storage.setMember(team->id, user->id, *role, sub == "add"), team->name, user->name,
                      user->name + " is " + words[3] + " of " + team->name);
    }
    if (sub == "remove" && count == 3) {
        const auto team = c.team(words[1], status);
        if (!team)
            return status;
        const auto user = c.account(words[2], status);
        if (!user)
            return status;
        return c.done(storage.removeMember(team->id, user->id), team->name, user->name,
                      user->name + " removed from " + team->name);
    }
    if (sub == "delete" && count == 2) {
        const auto team = c.team(words[1], status);
        if (!team)
            return status;
        return c.done(storage.deleteTeam(team->id), team->name, "", "team " + team->name + " deleted");
    }
    if (sub == "list" && count <= 2) {
        if (count == 2) {
            const auto team = c.team(words[1], status);
            if (!team)
                return status;
            printTeam(out, *team);
            return 0;
        }
        const auto teams = storage.teams();
        if (!teams.ok())
            return fail(teams.error().message);
        for (const auto &team : *teams)
            printTeam(out, team);
        return 0;
    }
    if (sub == "usage" && count == 2) {
        const auto team = c.team(words[1], status);
        if (!team)
            return status;
        const auto today = ServiceClock::unixSeconds() / 86400;
        const auto usage = storage.teamUsage(team->id, today - 29);
        if (!usage.ok())
            return fail(usage.error().message);
        if (csv) {
            // One table: a phrase's row names its class, a member's row its role.
            out << "kind,name,class_or_role,sends_30_days,sends_all_or_last_day\n";
            for (const auto &p : usage->phrases)
                out << "phrase," << csvField(p.label) << "," << csvField(p.classLabel) << "," << p.recentSends
                    << "," << p.lastDay << "\n";
            for (const auto &m : usage->members)
                out << "member," << csvField(m.name) << "," << TeamRoleName::of(m.role) << ","
                    << m.recentSends << "," << m.allSends << "\n";
            return 0;
        }
        auto phrases = usage->phrases;
        std::stable_sort(phrases.begin(), phrases.end(), [](const PhraseUsage &a, const PhraseUsage &b) {
            return a.recentSends > b.recentSends;
        });
        out << "most used in the last 30 days:\n";
        for (const auto &p : phrases)
            if (p.recentSends > 0)
                out << "  " << p.recentSends << "  " << p.label << " (" << p.classLabel << ")\n";
        out << "not used in the last 30 days:\n";
        for (const auto &p : usage->phrases)
            if (p.recentSends == 0)
                out << "  " << p.label << " (" << p.classLabel << ")\n";
        out << "sends per member (30 days / all):\n";
        for (const auto &m : usage->members)
            out << "  " << m.name << " " << TeamRoleName::of(m.role) << " " << m.recentSends << " / "
                << m.allSends << "\n";
        return 0;
    }
    return 2;
}
