#pragma once

#include "pgpool.h"
#include "storage.h"

#include <functional>
#include <memory>
#include <string>

class PgTransaction;

// Shared back-end for several service instances on one PostgreSQL database. Instances keep no state
// of their own: sessions, sign-in failures and library versions all live in the database, so any
// instance serves any request. Every library change first takes its owner's row lock (bumping the
// library version), which puts concurrent changes of one library in a line whichever instance makes
// them. A lost connection is retried once on a fresh one unless the commit itself was in doubt;
// beyond that the call throws StorageUnavailable and the next call tries again.
class PostgresStorage : public Storage {
public:
    // Connects and brings the schema up to date; nullptr and `error` when that fails.
    static std::unique_ptr<PostgresStorage> open(const std::string &url, std::size_t connections,
                                                 std::string &error);

    StoreStatus createUser(const std::string &name, const std::string &nameKey,
                           const std::string &passwordHash, const std::string &firstClassSign,
                           const std::string &firstClassLabel) override;
    std::optional<UserRecord> findUser(const std::string &nameKey) override;
    bool setPasswordHash(std::int64_t userId, const std::string &passwordHash) override;

    LoginGuardState loginGuard(const std::string &nameKey) override;
    LoginGuardState changeLoginGuard(const std::string &nameKey,
                                     const std::function<LoginGuardState(LoginGuardState)> &change) override;

    void createSession(const std::string &tokenDigest, std::int64_t userId, std::int64_t now,
                       bool revokeOthers) override;
    std::optional<UserRecord> sessionUser(const std::string &tokenDigest, std::int64_t now,
                                          std::int64_t maxIdle) override;
    void deleteSession(const std::string &tokenDigest) override;
    void purgeExpired(std::int64_t sessionsUsedBefore, std::int64_t guardsBefore) override;

    std::int64_t libraryVersion(std::int64_t userId) override;
    std::vector<ClassRecord> classes(std::int64_t userId) override;
    std::vector<PhraseRecord> phrases(std::int64_t userId) override;

    StoreStatus createClass(std::int64_t userId, const std::string &sign, const std::string &label,
                            std::int64_t position) override;
    StoreStatus deleteClasses(std::int64_t userId, const std::vector<std::string> &signs) override;
    StoreStatus setClassLabel(std::int64_t userId, const std::string &sign,
                              const std::string &label) override;
    StoreStatus swapClasses(std::int64_t userId, const std::string &sign1, const std::string &sign2) override;

    StoreStatus createPhrase(std::int64_t userId, const PhraseRecord &record) override;
    StoreStatus deletePhrases(std::int64_t userId, const std::vector<std::string> &signs) override;
    StoreStatus updatePhrase(std::int64_t userId, const PhraseRecord &record) override;
    StoreStatus swapPhrases(std::int64_t userId, const std::string &sign1, const std::string &sign2) override;

    bool pictureExists(const std::string &name) override;
    std::optional<std::string> picture(const std::string &name) override;
    StoreStatus storePicture(const std::string &name, const std::string &bytes, std::int64_t now,
                             std::int64_t ownerId) override;
    std::int64_t storageUsed(std::int64_t userId) override;

    // The schema version this build creates.
    static int schemaVersion();

private:
    PostgresStorage(const std::string &url, std::size_t connections);

    using Work = std::function<StoreStatus(PgTransaction &)>;
    // Runs `work` in one transaction, committed only when it returns Ok.
    StoreStatus transaction(const Work &work);
    // Runs `work` outside a transaction (single statements commit on their own).
    void statements(const std::function<void(PgTransaction &)> &work);
    StoreStatus run(const Work &work, bool inTransaction);
    StoreStatus changeLibrary(std::int64_t userId, const Work &change);
    StoreStatus swapRows(const char *table, std::int64_t userId, const std::string &sign1,
                         const std::string &sign2);
    void migrate();

    PgPool pool_;
};
