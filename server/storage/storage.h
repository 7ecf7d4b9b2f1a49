#pragma once

#include "storage/storagerecords.h"
#include "storage/storageresult.h"

#include <functional>
#include <optional>
#include <string>
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
};
