#pragma once

#include "storage/pglistener.h"
#include "storage/pgpool.h"
#include "storage/storage.h"

#include <functional>
#include <memory>
#include <string>

class PgTransaction;

// Shared back-end for several service instances on one PostgreSQL database. Instances keep no state
// of their own: sessions, sign-in failures and library versions all live in the database, so any
// instance serves any request. Every library change first takes its owner's row lock (bumping the
// library version), which puts concurrent changes of one library in a line whichever instance makes
// them. A lost connection is retried once on a fresh one unless the commit itself was in doubt;
// beyond that the call returns the error and the next call tries again.
class PostgresStorage : public Storage {
public:
    // Connects and brings the schema up to date; nullptr and `error` when that fails.
    static std::unique_ptr<PostgresStorage> open(const std::string &url, std::size_t connections,
                                                 std::string &error);
    ~PostgresStorage() override;

    StorageResult<StoreStatus> createUser(const std::string &name, const std::string &nameKey,
                                          const std::string &passwordHash, const std::string &firstClassSign,
                                          const std::string &firstClassLabel) override;
    StorageResult<std::optional<UserRecord>> findUser(const std::string &nameKey) override;
    StorageResult<bool> setPasswordHash(std::int64_t userId, const std::string &passwordHash) override;

    StorageResult<LoginGuardState> loginGuard(const std::string &nameKey) override;
    StorageResult<LoginGuardState>
    changeLoginGuard(const std::string &nameKey,
                     const std::function<LoginGuardState(LoginGuardState)> &change) override;

    StorageResult<void> createSession(const std::string &tokenDigest, std::int64_t userId, std::int64_t now,
                                      bool revokeOthers) override;
    StorageResult<std::optional<UserRecord>> sessionUser(const std::string &tokenDigest, std::int64_t now,
                                                         std::int64_t maxIdle) override;
    StorageResult<void> deleteSession(const std::string &tokenDigest) override;
    StorageResult<void> purgeExpired(std::int64_t sessionsUsedBefore, std::int64_t guardsBefore) override;

    StorageResult<std::int64_t> libraryVersion(std::int64_t userId) override;
    StorageResult<std::vector<ClassRecord>> classes(std::int64_t userId) override;
    StorageResult<std::vector<PhraseRecord>> phrases(std::int64_t userId) override;

    StorageResult<StoreStatus> createClass(std::int64_t userId, const std::string &sign,
                                           const std::string &label, std::int64_t position) override;
    StorageResult<StoreStatus> deleteClasses(std::int64_t userId,
                                             const std::vector<std::string> &signs) override;
    StorageResult<StoreStatus> setClassLabel(std::int64_t userId, const std::string &sign,
                                             const std::string &label) override;
    StorageResult<StoreStatus> swapClasses(std::int64_t userId, const std::string &sign1,
                                           const std::string &sign2) override;

    StorageResult<StoreStatus> createPhrase(std::int64_t userId, const PhraseRecord &record) override;
    StorageResult<StoreStatus> deletePhrases(std::int64_t userId,
                                             const std::vector<std::string> &signs) override;
    StorageResult<StoreStatus> updatePhrase(std::int64_t userId, const PhraseRecord &record) override;
    StorageResult<StoreStatus> swapPhrases(std::int64_t userId, const std::string &sign1,
                                           const std::string &sign2) override;

    StorageResult<bool> pictureExists(const std::string &name) override;
    StorageResult<std::optional<std::string>> picture(const std::string &name) override;
    StorageResult<StoreStatus> storePicture(const std::string &name, const std::string &bytes,
                                            std::int64_t now, std::int64_t ownerId) override;
    StorageResult<std::int64_t> storageUsed(std::int64_t userId) override;

    StorageResult<StoreStatus> createTeam(const std::string &name, const std::string &nameKey,
                                          std::int64_t ownerId, const std::string &firstClassSign,
                                          const std::string &firstClassLabel) override;
    StorageResult<StoreStatus> deleteTeam(std::int64_t teamId) override;
    StorageResult<std::optional<TeamRecord>> team(const std::string &nameKey) override;
    StorageResult<std::vector<TeamRecord>> teams() override;
    StorageResult<StoreStatus> setMember(std::int64_t teamId, std::int64_t userId, TeamRole role,
                                         bool add) override;
    StorageResult<StoreStatus> removeMember(std::int64_t teamId, std::int64_t userId) override;
    StorageResult<std::vector<LibraryGrant>> libraries(std::int64_t userId) override;
    StorageResult<std::optional<LibraryGrant>> library(std::int64_t userId,
                                                       const std::string &nameKey) override;
    StorageResult<LibraryChanges> changesSince(std::int64_t libraryId, std::int64_t since) override;
    StorageResult<StoreStatus> recordUsage(std::int64_t teamId, std::int64_t userId, const std::string &batch,
                                           std::int64_t day,
                                           const std::vector<std::pair<std::string, std::int64_t>> &counts,
                                           std::int64_t now) override;
    StorageResult<TeamUsage> teamUsage(std::int64_t teamId, std::int64_t fromDay) override;
    // Notices arrive through LISTEN on a connection of their own, from every instance.
    void watchChanges(std::function<void(const ChangeNotice &)> listener) override;

    // The schema version this build creates.
    static int schemaVersion();

private:
    PostgresStorage(const std::string &url, std::size_t connections);

    using Work = std::function<StoreStatus(PgTransaction &)>;
    // Runs `work` in one transaction, committed only when it returns Ok.
    StorageResult<StoreStatus> transaction(const Work &work);
    // Runs `work` outside a transaction (single statements commit on their own).
    template <typename T> StorageResult<T> statements(const std::function<T(PgTransaction &)> &work);
    StorageResult<StoreStatus> run(const Work &work, bool inTransaction);
    StorageResult<StoreStatus> changeLibrary(std::int64_t userId, const Work &change);
    StorageResult<StoreStatus> swapRows(const char *table, std::int64_t userId, const std::string &sign1,
                                        const std::string &sign2);
    // A change that returns no value: only whether it was done.
    StorageResult<void> done(const Work &work);
    StorageResult<void> migrate();

    std::string url_;
    PgPool pool_;
    std::unique_ptr<PgListener> listener_; // last: stops first
};
