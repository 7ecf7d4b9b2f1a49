#pragma once

#include "storage/storagerecords.h"
#include "storage/storageresult.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Everything the endpoints need from persistence. SQLite is the one back-end today; another
// (a shared database server) only has to implement this. Every method is safe to call from any
// request thread; each change is one transaction. Times are Unix seconds. Nothing throws: a call the
// database could not serve returns its error, and a change that failed left nothing behind.
class Storage {
public:
    virtual ~Storage() = default;

    // Accounts. Names are matched by nameKey (ASCII lower case). A new account gets one class.
    virtual StorageResult<StoreStatus> createUser(const std::string &name, const std::string &nameKey,
                                                  const std::string &passwordHash,
                                                  const std::string &firstClassSign,
                                                  const std::string &firstClassLabel) = 0;
    virtual StorageResult<std::optional<UserRecord>> findUser(const std::string &nameKey) = 0;
    // Replaces the hash and ends every session of the user.
    virtual StorageResult<bool> setPasswordHash(std::int64_t userId, const std::string &passwordHash) = 0;

    virtual StorageResult<LoginGuardState> loginGuard(const std::string &nameKey) = 0;
    // Rewrites the name's record with `change` in one step, however many instances record failures
    // of that name at once; a record of zeros is removed. Returns what was stored.
    virtual StorageResult<LoginGuardState>
    changeLoginGuard(const std::string &nameKey,
                     const std::function<LoginGuardState(LoginGuardState)> &change) = 0;

    // Sessions are stored by a digest of the token, never the token itself.
    virtual StorageResult<void> createSession(const std::string &tokenDigest, std::int64_t userId,
                                              std::int64_t now, bool revokeOthers) = 0;
    // The session's user when it was used within maxIdle seconds; refreshes its last use.
    virtual StorageResult<std::optional<UserRecord>> sessionUser(const std::string &tokenDigest,
                                                                 std::int64_t now, std::int64_t maxIdle) = 0;
    virtual StorageResult<void> deleteSession(const std::string &tokenDigest) = 0;
    // Deletes sessions last used before `sessionsUsedBefore` and sign-in failure records whose
    // latest failure and waiting time both ended before `guardsBefore`.
    virtual StorageResult<void> purgeExpired(std::int64_t sessionsUsedBefore, std::int64_t guardsBefore) = 0;

    // Library. Every change bumps the user's library version.
    virtual StorageResult<std::int64_t> libraryVersion(std::int64_t userId) = 0;
    virtual StorageResult<std::vector<ClassRecord>> classes(std::int64_t userId) = 0;
    virtual StorageResult<std::vector<PhraseRecord>> phrases(std::int64_t userId) = 0;

    virtual StorageResult<StoreStatus> createClass(std::int64_t userId, const std::string &sign,
                                                   const std::string &label, std::int64_t position) = 0;
    virtual StorageResult<StoreStatus> deleteClasses(std::int64_t userId,
                                                     const std::vector<std::string> &signs) = 0;
    virtual StorageResult<StoreStatus> setClassLabel(std::int64_t userId, const std::string &sign,
                                                     const std::string &label) = 0;
    virtual StorageResult<StoreStatus> swapClasses(std::int64_t userId, const std::string &sign1,
                                                   const std::string &sign2) = 0;

    // record.sign is the new sign; record.parentSign must be one of the user's classes.
    virtual StorageResult<StoreStatus> createPhrase(std::int64_t userId, const PhraseRecord &record) = 0;
    virtual StorageResult<StoreStatus> deletePhrases(std::int64_t userId,
                                                     const std::vector<std::string> &signs) = 0;
    // Changes parent, label and content; the position stays.
    virtual StorageResult<StoreStatus> updatePhrase(std::int64_t userId, const PhraseRecord &record) = 0;
    virtual StorageResult<StoreStatus> swapPhrases(std::int64_t userId, const std::string &sign1,
                                                   const std::string &sign2) = 0;

    // Pictures are stored once whoever sends them and never overwritten; every account that sent
    // one counts it against its quota.
    virtual StorageResult<bool> pictureExists(const std::string &name) = 0;
    virtual StorageResult<std::optional<std::string>> picture(const std::string &name) = 0;
    virtual StorageResult<StoreStatus> storePicture(const std::string &name, const std::string &bytes,
                                                    std::int64_t now, std::int64_t ownerId) = 0;
    // Bytes the account uses: its phrases' labels and contents and the pictures it sent.
    virtual StorageResult<std::int64_t> storageUsed(std::int64_t userId) = 0;

    // Teams. A team is a library row among the accounts (names are unique across both) that
    // nobody signs in to; its members' roles say who may change it. Membership changes leave a
    // notice for every instance (see watchChanges). A team always keeps an owner.
    virtual StorageResult<StoreStatus> createTeam(const std::string &name, const std::string &nameKey,
                                                  std::int64_t ownerId, const std::string &firstClassSign,
                                                  const std::string &firstClassLabel) = 0;
    virtual StorageResult<StoreStatus> deleteTeam(std::int64_t teamId) = 0;
    virtual StorageResult<std::optional<TeamRecord>> team(const std::string &nameKey) = 0;
    virtual StorageResult<std::vector<TeamRecord>> teams() = 0;
    // Exists when `add` and already a member; NotFound when not `add` and not a member.
    virtual StorageResult<StoreStatus> setMember(std::int64_t teamId, std::int64_t userId, TeamRole role,
                                                 bool add) = 0;
    virtual StorageResult<StoreStatus> removeMember(std::int64_t teamId, std::int64_t userId) = 0;
    // The account's own library first, then its teams by name.
    virtual StorageResult<std::vector<LibraryGrant>> libraries(std::int64_t userId) = 0;
    // The library named nameKey when the account may read it.
    virtual StorageResult<std::optional<LibraryGrant>> library(std::int64_t userId,
                                                               const std::string &nameKey) = 0;
    virtual StorageResult<LibraryChanges> changesSince(std::int64_t libraryId, std::int64_t since) = 0;
    // Adds a member's counts once per batch id (Exists for a batch seen before). Signs that are no
    // phrase of the team are left out.
    virtual StorageResult<StoreStatus>
    recordUsage(std::int64_t teamId, std::int64_t userId, const std::string &batch, std::int64_t day,
                const std::vector<std::pair<std::string, std::int64_t>> &counts, std::int64_t now) = 0;
    virtual StorageResult<TeamUsage> teamUsage(std::int64_t teamId, std::int64_t fromDay) = 0;
    // Calls `listener` (on a thread of the storage) for membership notices and, where several
    // processes share the database, for library versions committed elsewhere. An empty listener
    // stops the watching (the listener is never called after this returns).
    virtual void watchChanges(std::function<void(const ChangeNotice &)> listener) = 0;
};
