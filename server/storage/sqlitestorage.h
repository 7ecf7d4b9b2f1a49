#pragma once

#include "storage/storage.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace SQLite {
class Database;
}

// Embedded SQLite back-end: one file in WAL mode, one connection per worker thread. Changes are
// committed in groups: the changes queued while one group commits go into the next transaction
// together, each in a savepoint of its own. A group commits while the previous one's sync of the
// log runs, and syncs that start together are shared; nobody is answered before the sync that
// covers its group. Checkpoints run
// on a thread of their own, so no commit waits for the database file to be synced; when the log
// grows past walTruncateBytes anyway (readers kept a checkpoint from finishing) that thread
// truncates it, and a clean stop leaves it empty.
class SqliteStorage : public Storage {
public:
    // Opens (creating when needed) the database file and brings its schema up to date; nullptr and
    // `error` when that fails.
    static std::unique_ptr<SqliteStorage> open(const std::string &path, std::string &error);
    ~SqliteStorage() override;

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
    void watchChanges(std::function<void(const ChangeNotice &)> listener) override;

    // Past this size the write-ahead log is copied back and truncated at once.
    static constexpr std::int64_t walTruncateBytes = 32 * 1024 * 1024;

private:
    explicit SqliteStorage(std::string path);
    void start();
    // Runs work(db) in the next commit group and returns once that group is synced to disk, so the
    // caller acknowledges only durable changes. writeIf undoes the work's changes when keep(result)
    // is false.
    template <typename Work> auto write(Work &&work);
    template <typename Work, typename Keep> auto writeIf(Work &&work, Keep keep);
    using Change = std::function<bool(SQLite::Database &)>; // false: undo this change
    struct PendingWrite {
        const Change *change;
        std::optional<StorageError> error;
        bool done = false;
    };
    std::optional<StorageError> commitTogether(const Change &change);
    // False when nothing of the group was committed.
    bool commitGroup(const std::vector<PendingWrite *> &group);
    bool syncLog();
    SQLite::Database &db();
    std::unique_ptr<SQLite::Database> connect() const;
    void migrate();
    // Runs change under the write lock in one transaction; the library version moves only when it
    // succeeds, and anything else rolls the change back.
    StorageResult<StoreStatus> changeLibrary(std::int64_t userId,
                                             const std::function<StoreStatus(SQLite::Database &)> &change);
    StorageResult<StoreStatus> swapRows(bool classes, std::int64_t userId, const std::string &sign1,
                                        const std::string &sign2);

    void checkpointLoop(std::stop_token stop);
    std::int64_t walBytes() const;

    std::string path_;
    std::uint64_t instance_;
    std::mutex writeMutex_; // held while a group commits; the truncating checkpoint waits for it
    int walFd_ = -1;
    std::mutex groupMutex_;
    std::condition_variable groupDone_;
    std::vector<PendingWrite *> waiting_;
    bool leading_ = false;
    std::mutex syncMutex_;
    std::condition_variable syncDone_;
    std::uint64_t committed_ = 0; // groups committed
    std::uint64_t synced_ = 0;    // of those, how many are on disk
    bool syncing_ = false;
    std::mutex checkpointMutex_;
    std::condition_variable_any checkpointWake_;
    // Set by a writer that saw the log past walTruncateBytes: the checkpoint runs at once.
    std::atomic<bool> checkpointDue_{false};
    std::jthread checkpointer_; // stops before the members it uses go
    std::jthread watcher_;      // reads notices left by membership changes
};
