#include "api/librarycache.h"
#include "api/workerpool.h"
#include "cloudservice.h"
#include "postgrescluster.h"
#include "security/loginguard.h"
#include "security/loginthrottle.h"
#include "security/secrets.h"
#include "storage/pgconnection.h"
#include "storage/postgresstorage.h"
#include "storage/sqlitestorage.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

// Skips a case that does not depend on the back-end when the program runs against PostgreSQL:
// it ran already with SQLite.
#define ONCE_ONLY()                                                                                          \
    if (CloudService::usesPostgres())                                                                        \
    QSKIP("back-end independent")
#define SQLITE_ONLY()                                                                                        \
    if (CloudService::usesPostgres())                                                                        \
    QSKIP("SQLite's own files")
#define POSTGRES_ONLY()                                                                                      \
    if (!CloudService::usesPostgres())                                                                       \
    QSKIP("runs against PostgreSQL (QUILLORA_TEST_BACKEND=postgresql)")

// The value of a storage call that has to succeed; a failure ends the case with the storage's message.
template <typename T> T must(StorageResult<T> result) {
    if (!result.ok())
        throw std::runtime_error("storage failed: " + result.error().message);
    return std::move(result).value();
}

void must(const StorageResult<void> &result) {
    if (!result.ok())
        throw std::runtime_error("storage failed: " + result.error().message);
}

// Time-dependent rules of the service, driven with explicit clocks on a real database: a file, or a
// fresh database of a throw-away PostgreSQL server for each case.
class TestServerStorage : public QObject {
    Q_OBJECT

    QTemporaryDir dir_;
    PostgresCluster cluster_;
    int databases_ = 0;
    std::string url_;
    std::unique_ptr<Storage> storage_;
    std::int64_t userId_ = 0;

    std::unique_ptr<Storage> openStorage() {
        std::string error;
        std::unique_ptr<Storage> storage =
            CloudService::usesPostgres()
                ? std::unique_ptr<Storage>(PostgresStorage::open(url_, 8, error))
                : SqliteStorage::open(dir_.filePath("t.sqlite3").toStdString(), error);
        if (!storage)
            qWarning("%s", error.c_str());
        return storage;
    }

private Q_SLOTS:
    void initTestCase() {
        if (CloudService::usesPostgres())
            QVERIFY2(cluster_.start(), qPrintable(cluster_.error()));
    }

    void init() {
        QVERIFY(Secrets::init());
        if (CloudService::usesPostgres()) {
            const auto name = QStringLiteral("t%1").arg(++databases_);
            QVERIFY2(cluster_.createDatabase(name), qPrintable(cluster_.error()));
            url_ = cluster_.url(name).toStdString();
        }
        storage_ = openStorage();
        QVERIFY(storage_);
        must(storage_->createUser("Kim", "kim", "hash", Secrets::randomHex128(), "默认分类"));
        userId_ = must(storage_->findUser("kim"))->id;
    }
    void cleanup() {
        storage_.reset();
        QFile::remove(dir_.filePath("t.sqlite3"));
    }

    void failuresGrowTheWaitAndOldOnesAreForgotten() {
        const std::int64_t t0 = 1'000'000;
        for (int i = 0; i < 4; ++i)
            QCOMPARE(must(LoginGuard::failed(*storage_, "kim", t0 + i)), std::int64_t(0));
        // A failure after the window starts the count over instead of adding a wait.
        const auto t1 = t0 + 3 + LoginGuard::window;
        QCOMPARE(must(LoginGuard::failed(*storage_, "kim", t1)), std::int64_t(0));
        for (int i = 1; i < 4; ++i)
            QCOMPARE(must(LoginGuard::failed(*storage_, "kim", t1 + i)), std::int64_t(0));
        // From the fifth in a row each failure doubles the wait, up to the cap.
        std::int64_t previous = 0;
        for (int i = 4; i < 14; ++i) {
            const auto delay = must(LoginGuard::failed(*storage_, "kim", t1 + i));
            QVERIFY2(delay > previous || delay == LoginGuard::maxDelay, std::to_string(delay).c_str());
            previous = delay;
        }
        QCOMPARE(previous, LoginGuard::maxDelay);
        QCOMPARE(must(LoginGuard::waitFor(*storage_, "kim", t1 + 13 + 60)), LoginGuard::maxDelay - 60);
        QCOMPARE(must(LoginGuard::waitFor(*storage_, "other", t1)), std::int64_t(0));

        // The purge keeps a record while it matters and drops it after.
        const auto last = t1 + 13;
        must(storage_->purgeExpired(0, last - LoginGuard::window));
        QVERIFY(must(LoginGuard::waitFor(*storage_, "kim", last)) > 0);
        must(storage_->purgeExpired(0, last + LoginGuard::maxDelay + 1));
        QCOMPARE(must(storage_->loginGuard("kim")).failures, std::int64_t(0));

        // A success clears the count.
        for (int i = 0; i < 4; ++i)
            must(LoginGuard::failed(*storage_, "kim", last + i));
        must(LoginGuard::succeeded(*storage_, "kim"));
        QCOMPARE(must(LoginGuard::failed(*storage_, "kim", last + 5)), std::int64_t(0));
    }

    void failuresRecordedAtOnceThroughTwoInstancesAllCount() {
        // Two storages on one database stand for two service instances.
        const auto other = openStorage();
        QVERIFY(other);
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&, t] {
                auto &storage = t % 2 ? *other : *storage_;
                for (int i = 0; i < 10; ++i)
                    LoginGuard::failed(storage, "kim", 1'000'000);
            });
        for (auto &t : threads)
            t.join();
        QCOMPARE(must(storage_->loginGuard("kim")).failures, std::int64_t(40));
        must(LoginGuard::succeeded(*other, "kim"));
        QCOMPARE(must(storage_->loginGuard("kim")).failures, std::int64_t(0));
    }

    void throttleAllowsABurstThenRefillsAndForgets() {
        ONCE_ONLY();
        LoginThrottle throttle(3);
        const double t = 100;
        for (int i = 0; i < int(LoginThrottle::burst); ++i)
            QVERIFY(throttle.take("10.0.0.1", t));
        QVERIFY(!throttle.take("10.0.0.1", t));
        QVERIFY(throttle.take("10.0.0.2", t)); // addresses are apart
        throttle.giveBack("10.0.0.1");         // a right password costs nothing
        QVERIFY(throttle.take("10.0.0.1", t));
        QVERIFY(!throttle.take("10.0.0.1", t));
        QVERIFY(throttle.take("10.0.0.1", t + 1 / LoginThrottle::perSecond));

        QCOMPARE(throttle.wait("10.0.0.1", t + 1 / LoginThrottle::perSecond), 1 / LoginThrottle::perSecond);

        // Checks in flight: a second one at once marks the address busy until one finishes.
        throttle.finished("10.0.0.2"); // its check above
        QVERIFY(throttle.take("10.0.0.2", t) && !throttle.busy("10.0.0.2"));
        QVERIFY(throttle.take("10.0.0.2", t) && throttle.busy("10.0.0.2"));
        throttle.finished("10.0.0.2");
        QVERIFY(!throttle.busy("10.0.0.2"));
        throttle.finished("10.0.0.2");

        // Failures mark the address and the name; a later success makes the address trusted again.
        QVERIFY(!throttle.failedRecently("10.0.0.2", t));
        throttle.succeeded("10.0.0.2", t);
        QVERIFY(throttle.trusted("10.0.0.2", t));
        throttle.failed("10.0.0.2", "kim", t + 1);
        QVERIFY(!throttle.trusted("10.0.0.2", t + 1));
        QVERIFY(throttle.failedRecently("10.0.0.2", t + 1));
        QVERIFY(throttle.nameFailedRecently("kim", t + 1) && !throttle.nameFailedRecently("lee", t + 1));
        throttle.succeeded("10.0.0.2", t + 2);
        QVERIFY(throttle.trusted("10.0.0.2", t + 2));
        QVERIFY(!throttle.failedRecently("10.0.0.2", t + 1 + LoginThrottle::failureMemory));
        QVERIFY(!throttle.nameFailedRecently("kim", t + 1 + LoginThrottle::failureMemory));

        // The table is bounded; purged addresses make room again.
        QVERIFY(throttle.take("10.0.0.3", t));
        QVERIFY(!throttle.take("10.0.0.4", t));
        throttle.purge(t + LoginThrottle::failureMemory + LoginThrottle::burst / LoginThrottle::perSecond);
        QVERIFY(throttle.take("10.0.0.4", t + LoginThrottle::failureMemory * 2));
    }

    void sessionsExpireAfterIdleTimeAndUseKeepsThemAlive() {
        const std::int64_t day = 24 * 3600, idle = 30 * day;
        must(storage_->createSession("a", userId_, 0, false));
        must(storage_->createSession("b", userId_, 0, false));
        QVERIFY(must(storage_->sessionUser("a", 20 * day, idle))); // used: good for another 30 days
        QVERIFY(must(storage_->sessionUser("a", 45 * day, idle)));
        QVERIFY(!must(storage_->sessionUser("b", 30 * day + 1, idle)));
        QVERIFY(!must(storage_->sessionUser("b", 0, idle))); // removed, not merely refused
        QCOMPARE(must(storage_->sessionUser("a", 46 * day, idle))->name, std::string("Kim"));

        must(storage_->createSession("c", userId_, 46 * day, true)); // single session: the others go
        QVERIFY(!must(storage_->sessionUser("a", 46 * day, idle)));
        QVERIFY(must(storage_->sessionUser("c", 46 * day, idle)));
        QVERIFY(must(storage_->setPasswordHash(userId_, "new")));
        QVERIFY(!must(storage_->sessionUser("c", 46 * day, idle)));

        // Sessions nobody comes back for are purged all the same.
        must(storage_->createSession("d", userId_, 50 * day, false));
        must(storage_->createSession("e", userId_, 90 * day, false));
        must(storage_->purgeExpired(90 * day - idle, 0));
        QVERIFY(must(storage_->sessionUser("e", 90 * day, idle)));
        must(storage_->createSession("d", userId_, 90 * day, false)); // its digest is free again
    }

    void everyChangeMovesTheLibraryVersion() {
        const auto v0 = must(storage_->libraryVersion(userId_));
        const auto cls = Secrets::randomHex128();
        QCOMPARE(must(storage_->createClass(userId_, cls, "c", 1)), StoreStatus::Ok);
        const auto v1 = must(storage_->libraryVersion(userId_));
        QVERIFY(v1 > v0);
        PhraseRecord p;
        p.parentSign = cls;
        p.sign = Secrets::randomHex128();
        QCOMPARE(must(storage_->createPhrase(userId_, p)), StoreStatus::Ok);
        const auto v2 = must(storage_->libraryVersion(userId_));
        QVERIFY(v2 > v1);
        // A refused change leaves it alone.
        QCOMPARE(must(storage_->deletePhrases(userId_, {p.sign, "missing"})), StoreStatus::NotFound);
        QCOMPARE(must(storage_->libraryVersion(userId_)), v2);
        QCOMPARE(must(storage_->phrases(userId_)).size(), std::size_t(1));
        QCOMPARE(must(storage_->swapPhrases(userId_, p.sign, p.sign)), StoreStatus::Ok);
        QVERIFY(must(storage_->libraryVersion(userId_)) > v2);
    }

    void picturesAreWrittenOnceAndCountForEverySender() {
        must(storage_->createUser("Lee", "lee", "hash", Secrets::randomHex128(), "默认分类"));
        const auto lee = must(storage_->findUser("lee"))->id;
        QCOMPARE(must(storage_->storePicture("a.png", std::string("\0\1\2", 3), 0, userId_)),
                 StoreStatus::Ok);
        QCOMPARE(must(storage_->storePicture("a.png", std::string("\0\1\2", 3), 0, userId_)),
                 StoreStatus::Exists);
        QCOMPARE(must(storage_->storePicture("a.png", "other", 0, lee)), StoreStatus::DifferentBytes);
        QCOMPARE(must(storage_->picture("a.png")).value_or(""), std::string("\0\1\2", 3));
        QVERIFY(!must(storage_->picture("b.png")));
        QCOMPARE(must(storage_->storageUsed(userId_)), std::int64_t(3));
        QCOMPARE(must(storage_->storageUsed(lee)), std::int64_t(0));
        QCOMPARE(must(storage_->storePicture("a.png", std::string("\0\1\2", 3), 0, lee)),
                 StoreStatus::Exists);
        QCOMPARE(must(storage_->storageUsed(lee)), std::int64_t(3));

        // Phrases count with their labels and contents, in bytes.
        PhraseRecord p;
        p.parentSign = must(storage_->classes(lee)).front().sign;
        p.sign = Secrets::randomHex128();
        p.label = "字";
        p.jsonValue = "[]";
        QCOMPARE(must(storage_->createPhrase(lee, p)), StoreStatus::Ok);
        QCOMPARE(must(storage_->storageUsed(lee)), std::int64_t(3 + 3 + 2));
    }

    void theLogStaysBoundedUnderWritesAndIsEmptyAfterAStop() {
        SQLITE_ONLY();
        const auto path = dir_.filePath("t.sqlite3").toStdString();
        const auto cls = must(storage_->classes(userId_)).front().sign;
        const auto walSize = [&] {
            std::error_code ec;
            const auto size = std::filesystem::file_size(path + "-wal", ec);
            return ec ? std::uintmax_t(0) : size;
        };
        // A reader that never lets go stops every checkpoint from starting the log over.
        std::atomic<bool> done{false};
        std::thread reader([&] {
            SQLite::Database other(path, SQLite::OPEN_READONLY);
            while (!done) {
                SQLite::Statement q(other, "SELECT length(json_value) FROM word_list");
                while (q.executeStep()) {
                }
            }
        });
        const std::string body(64 * 1024, 'x');
        std::uintmax_t largest = 0;
        for (int i = 0; i < 700; ++i) {
            PhraseRecord p;
            p.parentSign = cls;
            p.sign = Secrets::randomHex128();
            p.jsonValue = body;
            QCOMPARE(must(storage_->createPhrase(userId_, p)), StoreStatus::Ok);
            QCOMPARE(must(storage_->deletePhrases(userId_, {p.sign})), StoreStatus::Ok);
            largest = std::max(largest, walSize());
        }
        done = true;
        reader.join();
        // 700 pairs wrote ~90 MiB of pages; the log never held more than the limit and a bit.
        QVERIFY2(largest < 64u * 1024 * 1024, std::to_string(largest).c_str());
        storage_.reset();
        QCOMPARE(walSize(), std::uintmax_t(0));
    }

    void libraryCacheBuildsOncePerVersionWithinItsBudget() {
        ONCE_ONLY();
        LibraryCache cache;
        std::atomic<int> builds{0};
        std::vector<std::thread> readers;
        std::vector<std::size_t> sizes(16);
        for (int t = 0; t < 16; ++t)
            readers.emplace_back([&, t] {
                const auto reply = cache.get(7, LibraryCache::Kind::Phrases, 3, [&] {
                    ++builds;
                    std::this_thread::sleep_for(std::chrono::milliseconds(200));
                    auto r = std::make_shared<LibraryCache::Reply>();
                    r->plain = "built";
                    return std::shared_ptr<const LibraryCache::Reply>(r);
                });
                sizes[std::size_t(t)] = reply->plain.size();
            });
        for (auto &t : readers)
            t.join();
        QCOMPARE(builds.load(), 1);
        QCOMPARE(cache.builds(), std::uint64_t(1));
        QVERIFY(std::all_of(sizes.begin(), sizes.end(), [](std::size_t n) { return n == 5; }));
        // A newer version builds again; an older request takes the newer reply.
        cache.get(7, LibraryCache::Kind::Phrases, 4, [] {
            return std::make_shared<const LibraryCache::Reply>(LibraryCache::Reply{"four", "", {}});
        });
        QCOMPARE(cache.get(7, LibraryCache::Kind::Phrases, 2, [] { return nullptr; })->plain,
                 std::string("four"));
        // A builder that fails lets the next caller build.
        QVERIFY_THROWS_EXCEPTION(
            std::runtime_error,
            cache.get(8, LibraryCache::Kind::Classes, 1, []() -> std::shared_ptr<const LibraryCache::Reply> {
                throw std::runtime_error("disk");
            }));
        QCOMPARE(
            cache
                .get(
                    8, LibraryCache::Kind::Classes, 1,
                    [] {
                        return std::make_shared<const LibraryCache::Reply>(LibraryCache::Reply{"ok", "", {}});
                    })
                ->plain,
            std::string("ok"));

        // Past the byte budget the entry stored longest ago goes.
        LibraryCache small(100);
        const auto reply = [](std::size_t n) {
            auto r = std::make_shared<LibraryCache::Reply>();
            r->plain.assign(n, 'x');
            return std::shared_ptr<const LibraryCache::Reply>(r);
        };
        using K = LibraryCache::Kind;
        small.store(1, K::Phrases, 5, reply(40));
        QVERIFY(small.find(1, K::Phrases, 5));
        QVERIFY(!small.find(1, K::Phrases, 6)); // the library changed since
        QVERIFY(!small.find(1, K::Classes, 5));
        small.store(1, K::Phrases, 4, reply(10)); // a slower, older build does not win
        QCOMPARE(small.find(1, K::Phrases, 5)->plain.size(), std::size_t(40));
        small.store(2, K::Phrases, 1, reply(40));
        small.store(3, K::Phrases, 1, reply(40)); // 120 bytes: the oldest entry goes
        QVERIFY(!small.find(1, K::Phrases, 5));
        QVERIFY(small.find(2, K::Phrases, 1) && small.find(3, K::Phrases, 1));
        small.store(2, K::Phrases, 2, reply(10)); // replacing frees its old bytes
        small.store(4, K::Classes, 1, reply(40));
        QVERIFY(small.find(2, K::Phrases, 2) && small.find(3, K::Phrases, 1) && small.find(4, K::Classes, 1));
    }

    void commitsAreSyncedThroughTheLiveLog() {
        SQLITE_ONLY();
        // The log descriptor kept for group commits must be the file SQLite writes, not one it
        // removed when a connection closed.
        QCOMPARE(must(storage_->createClass(userId_, Secrets::randomHex128(), "c", 1)), StoreStatus::Ok);
        int logs = 0;
        for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code ec;
            const auto target = std::filesystem::read_symlink(entry.path(), ec).string();
            if (target.find("t.sqlite3-wal") == std::string::npos)
                continue;
            ++logs;
            QVERIFY2(target.find("(deleted)") == std::string::npos, target.c_str());
        }
        QVERIFY(logs > 0);
    }

    void concurrentWritersAllLandAndRefusedOnesLeaveNothing() {
        // Writers share transactions; a refused change in the middle of a group (a delete naming
        // one phrase that exists and one that does not) must undo only itself.
        const auto cls = must(storage_->classes(userId_)).front().sign;
        const auto before = must(storage_->libraryVersion(userId_));
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back([&, t] {
                for (int i = 0; i < 50; ++i) {
                    PhraseRecord p;
                    p.parentSign = cls;
                    p.sign = Secrets::randomHex128();
                    p.position = t * 100 + i;
                    QCOMPARE(must(storage_->createPhrase(userId_, p)), StoreStatus::Ok);
                    QCOMPARE(must(storage_->deletePhrases(userId_, {p.sign, Secrets::randomHex128()})),
                             StoreStatus::NotFound);
                }
            });
        for (auto &t : threads)
            t.join();
        QCOMPARE(must(storage_->phrases(userId_)).size(), std::size_t(400));
        QCOMPARE(must(storage_->libraryVersion(userId_)), before + 400);
    }

    void instancesStartingTogetherMigrateOnce() {
        POSTGRES_ONLY();
        const auto name = QStringLiteral("race%1").arg(databases_);
        QVERIFY(cluster_.createDatabase(name));
        const auto url = cluster_.url(name).toStdString();
        std::vector<std::thread> starters;
        std::atomic<int> opened{0};
        for (int i = 0; i < 4; ++i)
            starters.emplace_back([&] {
                std::string error;
                if (PostgresStorage::open(url, 1, error))
                    ++opened;
                else
                    qWarning("%s", error.c_str());
            });
        for (auto &t : starters)
            t.join();
        QCOMPARE(opened.load(), 4);
        PgConnection db(url);
        const auto versions = db.exec("SELECT COUNT(*), MAX(version) FROM schema_version");
        QCOMPARE(versions.integer(0, 0), std::int64_t(PostgresStorage::schemaVersion()));
        QCOMPARE(versions.integer(0, 1), std::int64_t(PostgresStorage::schemaVersion()));

        // A schema from a later release is not touched by this one.
        QVERIFY(db.exec("INSERT INTO schema_version VALUES(1000)").ok());
        std::string error;
        QVERIFY(!PostgresStorage::open(url, 1, error));
        QVERIFY2(error.find("newer") != std::string::npos, error.c_str());
    }

    void everyCallReportsADatabaseFailureAsItsResultAndWorksOnceItEnds() {
        const std::vector<std::string> tables = {"users",     "sessions", "login_guard",   "word_class",
                                                 "word_list", "pictures", "picture_owners"};
        // Every table taken away behind the storage's back, then given back.
        const auto rename = [&](const std::string &from, const std::string &to) {
            std::string sql;
            for (const auto &t : tables)
                sql += "ALTER TABLE " + t + from + " RENAME TO " + t + to + ";";
            if (CloudService::usesPostgres())
                return PgConnection(url_).exec(sql).ok();
            SQLite::Database db(dir_.filePath("t.sqlite3").toStdString(), SQLite::OPEN_READWRITE);
            db.setBusyTimeout(10000);
            db.exec(sql);
            return true;
        };
        const auto cls = must(storage_->classes(userId_)).front().sign;
        must(storage_->createSession("s", userId_, 0, false));
        PhraseRecord p;
        p.parentSign = cls;
        p.sign = Secrets::randomHex128();
        const auto fail = [](LoginGuardState state) {
            ++state.failures;
            return state;
        };
        const std::vector<std::pair<const char *, std::function<bool()>>> calls = {
            {"createUser", [&] { return storage_->createUser("Ann", "ann", "h", "s1", "c").ok(); }},
            {"findUser", [&] { return storage_->findUser("kim").ok(); }},
            {"setPasswordHash", [&] { return storage_->setPasswordHash(userId_, "h2").ok(); }},
            {"loginGuard", [&] { return storage_->loginGuard("kim").ok(); }},
            {"changeLoginGuard", [&] { return storage_->changeLoginGuard("kim", fail).ok(); }},
            {"createSession", [&] { return storage_->createSession("t", userId_, 0, false).ok(); }},
            {"sessionUser", [&] { return storage_->sessionUser("s", 100, 1000).ok(); }},
            {"deleteSession", [&] { return storage_->deleteSession("t").ok(); }},
            {"purgeExpired", [&] { return storage_->purgeExpired(0, 0).ok(); }},
            {"libraryVersion", [&] { return storage_->libraryVersion(userId_).ok(); }},
            {"classes", [&] { return storage_->classes(userId_).ok(); }},
            {"phrases", [&] { return storage_->phrases(userId_).ok(); }},
            {"createClass", [&] { return storage_->createClass(userId_, "s2", "c", 1).ok(); }},
            {"setClassLabel", [&] { return storage_->setClassLabel(userId_, "s2", "d").ok(); }},
            {"swapClasses", [&] { return storage_->swapClasses(userId_, cls, "s2").ok(); }},
            {"deleteClasses", [&] { return storage_->deleteClasses(userId_, {"s2"}).ok(); }},
            {"createPhrase", [&] { return storage_->createPhrase(userId_, p).ok(); }},
            {"updatePhrase", [&] { return storage_->updatePhrase(userId_, p).ok(); }},
            {"swapPhrases", [&] { return storage_->swapPhrases(userId_, p.sign, p.sign).ok(); }},
            {"deletePhrases", [&] { return storage_->deletePhrases(userId_, {p.sign}).ok(); }},
            {"storePicture", [&] { return storage_->storePicture("a.png", "x", 0, userId_).ok(); }},
            {"pictureExists", [&] { return storage_->pictureExists("a.png").ok(); }},
            {"picture", [&] { return storage_->picture("a.png").ok(); }},
            {"storageUsed", [&] { return storage_->storageUsed(userId_).ok(); }},
        };
        QVERIFY(rename("", "_gone"));
        for (const auto &[name, call] : calls)
            QVERIFY2(!call(), name);
        QVERIFY(rename("_gone", ""));
        for (const auto &[name, call] : calls)
            QVERIFY2(call(), name);
        // Nothing of the failed round was half written.
        QCOMPARE(must(storage_->loginGuard("kim")).failures, std::int64_t(1));
        QCOMPARE(must(storage_->classes(userId_)).size(), std::size_t(1));
        QVERIFY(must(storage_->findUser("ann")));
    }

    void lostConnectionsAreRetriedAndOutagesEndByThemselves() {
        POSTGRES_ONLY();
        const auto cls = must(storage_->classes(userId_)).front().sign;
        // Several pooled connections, all ended behind the storage's back: the next calls succeed
        // on fresh ones without the caller noticing.
        std::vector<std::thread> users;
        for (int t = 0; t < 4; ++t)
            users.emplace_back([&] { storage_->classes(userId_); });
        for (auto &t : users)
            t.join();
        PgConnection admin(url_);
        QVERIFY(admin
                    .exec("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = "
                          "current_database() AND pid <> pg_backend_pid()")
                    .ok());
        PhraseRecord before;
        before.parentSign = cls;
        before.sign = Secrets::randomHex128();
        QCOMPARE(must(storage_->createPhrase(userId_, before)), StoreStatus::Ok);

        // The server gone: every call fails with the storage's own error, none hangs or crashes.
        QVERIFY(cluster_.stop(true));
        for (int i = 0; i < 5; ++i) {
            QVERIFY(!storage_->libraryVersion(userId_).ok());
            const auto refused = storage_->createClass(userId_, Secrets::randomHex128(), "x", 9);
            QVERIFY(!refused.ok());
            QVERIFY(!refused.error().message.empty());
        }
        QVERIFY2(cluster_.start(), qPrintable(cluster_.error()));
        bool back = false;
        for (int i = 0; i < 100 && !back; ++i) {
            const auto phrases = storage_->phrases(userId_);
            back = phrases.ok() && phrases->size() == 1;
            if (!back)
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        QVERIFY(back);
        QCOMPARE(must(storage_->phrases(userId_)).front().sign, before.sign);
        QCOMPARE(must(storage_->classes(userId_)).size(), std::size_t(1)); // nothing half-written meanwhile
    }

    void theConnectionPoolKeepsToItsBound() {
        POSTGRES_ONLY();
        std::string error;
        const auto bounded = PostgresStorage::open(url_, 2, error);
        QVERIFY2(bounded, error.c_str());
        const auto cls = must(bounded->classes(userId_)).front().sign;
        std::atomic<bool> done{false};
        std::int64_t most = 0;
        std::thread watcher([&] {
            PgConnection admin(url_);
            while (!done)
                most = std::max(most, admin
                                          .exec("SELECT COUNT(*) FROM pg_stat_activity WHERE datname = "
                                                "current_database() AND pid <> pg_backend_pid()")
                                          .integer(0, 0));
        });
        std::vector<std::thread> writers;
        std::atomic<int> created{0};
        for (int t = 0; t < 8; ++t)
            writers.emplace_back([&] {
                for (int i = 0; i < 25; ++i) {
                    PhraseRecord p;
                    p.parentSign = cls;
                    p.sign = Secrets::randomHex128();
                    const auto status = bounded->createPhrase(userId_, p);
                    created += status.ok() && *status == StoreStatus::Ok;
                    bounded->phrases(userId_);
                }
            });
        for (auto &t : writers)
            t.join();
        done = true;
        watcher.join();
        QCOMPARE(created.load(), 200); // everyone waited for a turn, nobody was refused
        // The storage opened in init() keeps its own connection; this one never had more than two.
        QVERIFY2(most >= 2 && most <= 3, std::to_string(most).c_str());
    }

    void workerPoolRefusesWhenFullAndServesItsLanesInOrder() {
        ONCE_ONLY();
        using Lane = WorkerPool::Lane;
        std::mutex orderMutex;
        std::string order;
        const auto record = [&](char c) {
            return [&, c] {
                std::lock_guard lock(orderMutex);
                order.push_back(c);
            };
        };
        const auto seen = [&] {
            std::lock_guard lock(orderMutex);
            return order;
        };
        std::mutex gate;
        std::atomic<int> started{0};
        const auto blocker = [&](char c) {
            return [&, c] {
                ++started;
                std::lock_guard wait(gate);
                record(c)();
            };
        };
        {
            WorkerPool pool(1, 3, 1);
            std::unique_lock held(gate);
            QVERIFY(pool.submit(blocker('0')));
            QTRY_COMPARE_WITH_TIMEOUT(started.load(), 1, 10000); // the one worker is busy
            QVERIFY(pool.submit(record('L'), Lane::Limited));
            QVERIFY(pool.submit(record('a')));
            QVERIFY(pool.submit(record('U'), Lane::First));
            QVERIFY(pool.submit(record('b')));
            QVERIFY(!pool.submit(record('x'))); // three waiting: full, but not for the limited lane
            QVERIFY(pool.submit(record('M'), Lane::Limited));
            held.unlock();
            pool.stop();
            QCOMPARE(seen(), std::string("0UabLM"));
            QVERIFY(!pool.submit(record('y'))); // stopped
        }
        order.clear();
        started = 0;
        {
            // One limited task at a time: while it holds a thread the other serves the rest and
            // leaves the second limited task waiting.
            WorkerPool pool(2, 8, 1);
            std::unique_lock held(gate);
            QVERIFY(pool.submit(blocker('1'), Lane::Limited));
            QTRY_COMPARE_WITH_TIMEOUT(started.load(), 1, 10000);
            QVERIFY(pool.submit(record('2'), Lane::Limited));
            QVERIFY(pool.submit(record('a')));
            QTRY_COMPARE_WITH_TIMEOUT(seen(), std::string("a"), 10000);
            QVERIFY(pool.submit(record('b')));
            QTRY_COMPARE_WITH_TIMEOUT(seen(), std::string("ab"), 10000);
            held.unlock();
            pool.stop();
            QCOMPARE(seen(), std::string("ab12"));
        }
    }
};

QTEST_GUILESS_MAIN(TestServerStorage)
#include "tst_server_storage.moc"
