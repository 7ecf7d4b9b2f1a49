#include "fairmutex.h"
#include "librarycache.h"
#include "loginguard.h"
#include "secrets.h"
#include "sqlitestorage.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <thread>
#include <vector>

// Time-dependent rules of the service, driven with explicit clocks on a real database file.
class TestServerStorage : public QObject {
    Q_OBJECT

    QTemporaryDir dir_;
    std::unique_ptr<SqliteStorage> storage_;
    std::int64_t userId_ = 0;

private Q_SLOTS:
    void init() {
        QVERIFY(Secrets::init());
        storage_ = std::make_unique<SqliteStorage>(dir_.filePath("t.sqlite3").toStdString());
        storage_->createUser("Kim", "kim", "hash", Secrets::randomHex128(), "默认分类");
        userId_ = storage_->findUser("kim")->id;
    }
    void cleanup() {
        storage_.reset();
        QFile::remove(dir_.filePath("t.sqlite3"));
    }

    void failuresLockOnlyWithinTheWindow() {
        const std::int64_t t0 = 1'000'000;
        for (int i = 0; i < 4; ++i)
            QCOMPARE(LoginGuard::failed(*storage_, "kim", t0 + i), std::int64_t(0));
        // The fifth failure comes after the window: it starts a new count instead of locking.
        QCOMPARE(LoginGuard::failed(*storage_, "kim", t0 + LoginGuard::window), std::int64_t(0));
        QCOMPARE(LoginGuard::lockedFor(*storage_, "kim", t0 + LoginGuard::window), std::int64_t(0));
        for (int i = 1; i < 4; ++i)
            LoginGuard::failed(*storage_, "kim", t0 + LoginGuard::window + i);
        const auto at = t0 + LoginGuard::window + 10;
        QCOMPARE(LoginGuard::failed(*storage_, "kim", at), LoginGuard::lockTime);
        QCOMPARE(LoginGuard::lockedFor(*storage_, "kim", at + 60), LoginGuard::lockTime - 60);
        QCOMPARE(LoginGuard::lockedFor(*storage_, "other", at), std::int64_t(0));
        QCOMPARE(LoginGuard::lockedFor(*storage_, "kim", at + LoginGuard::lockTime), std::int64_t(0));

        // A success clears the count: four more failures do not lock.
        LoginGuard::failed(*storage_, "kim", at + LoginGuard::lockTime + 1);
        LoginGuard::succeeded(*storage_, "kim");
        for (int i = 0; i < 4; ++i)
            QCOMPARE(LoginGuard::failed(*storage_, "kim", at + LoginGuard::lockTime + 2 + i),
                     std::int64_t(0));
    }

    void sessionsExpireAfterIdleTimeAndUseKeepsThemAlive() {
        const std::int64_t day = 24 * 3600, idle = 30 * day;
        storage_->createSession("a", userId_, 0, false);
        storage_->createSession("b", userId_, 0, false);
        QVERIFY(storage_->sessionUser("a", 20 * day, idle)); // used: good for another 30 days
        QVERIFY(storage_->sessionUser("a", 45 * day, idle));
        QVERIFY(!storage_->sessionUser("b", 30 * day + 1, idle));
        QVERIFY(!storage_->sessionUser("b", 0, idle)); // removed, not merely refused
        QCOMPARE(storage_->sessionUser("a", 46 * day, idle)->name, std::string("Kim"));

        storage_->createSession("c", userId_, 46 * day, true); // single session: the others go
        QVERIFY(!storage_->sessionUser("a", 46 * day, idle));
        QVERIFY(storage_->sessionUser("c", 46 * day, idle));
        QVERIFY(storage_->setPasswordHash(userId_, "new"));
        QVERIFY(!storage_->sessionUser("c", 46 * day, idle));
    }

    void everyChangeMovesTheLibraryVersion() {
        const auto v0 = storage_->libraryVersion(userId_);
        const auto cls = Secrets::randomHex128();
        QCOMPARE(storage_->createClass(userId_, cls, "c", 1), StoreStatus::Ok);
        const auto v1 = storage_->libraryVersion(userId_);
        QVERIFY(v1 > v0);
        PhraseRecord p;
        p.parentSign = cls;
        p.sign = Secrets::randomHex128();
        QCOMPARE(storage_->createPhrase(userId_, p), StoreStatus::Ok);
        const auto v2 = storage_->libraryVersion(userId_);
        QVERIFY(v2 > v1);
        // A refused change leaves it alone.
        QCOMPARE(storage_->deletePhrases(userId_, {p.sign, "missing"}), StoreStatus::NotFound);
        QCOMPARE(storage_->libraryVersion(userId_), v2);
        QCOMPARE(storage_->phrases(userId_).size(), std::size_t(1));
        QCOMPARE(storage_->swapPhrases(userId_, p.sign, p.sign), StoreStatus::Ok);
        QVERIFY(storage_->libraryVersion(userId_) > v2);
    }

    void picturesAreWrittenOnce() {
        QCOMPARE(storage_->storePicture("a.png", std::string("\0\1\2", 3), 0), StoreStatus::Ok);
        QCOMPARE(storage_->storePicture("a.png", std::string("\0\1\2", 3), 0), StoreStatus::Exists);
        QCOMPARE(storage_->storePicture("a.png", "other", 0), StoreStatus::DifferentBytes);
        QCOMPARE(storage_->picture("a.png").value_or(""), std::string("\0\1\2", 3));
        QVERIFY(!storage_->picture("b.png"));
    }

    void concurrentWritersAllLand() {
        const auto cls = storage_->classes(userId_).front().sign;
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back([&, t] {
                for (int i = 0; i < 50; ++i) {
                    PhraseRecord p;
                    p.parentSign = cls;
                    p.sign = Secrets::randomHex128();
                    p.position = t * 100 + i;
                    storage_->createPhrase(userId_, p);
                }
            });
        for (auto &t : threads)
            t.join();
        QCOMPARE(storage_->phrases(userId_).size(), std::size_t(400));
    }

    void libraryCacheFollowsVersionsAndKeepsToItsBudget() {
        LibraryCache cache(100);
        const auto reply = [](std::size_t n) {
            auto r = std::make_shared<LibraryCache::Reply>();
            r->plain.assign(n, 'x');
            return std::shared_ptr<const LibraryCache::Reply>(r);
        };
        using K = LibraryCache::Kind;
        cache.store(1, K::Phrases, 5, reply(40));
        QVERIFY(cache.find(1, K::Phrases, 5));
        QVERIFY(!cache.find(1, K::Phrases, 6)); // the library changed since
        QVERIFY(!cache.find(1, K::Classes, 5));
        cache.store(1, K::Phrases, 4, reply(10)); // a slower, older build does not win
        QCOMPARE(cache.find(1, K::Phrases, 5)->plain.size(), std::size_t(40));
        cache.store(2, K::Phrases, 1, reply(40));
        cache.store(3, K::Phrases, 1, reply(40)); // 120 bytes: the oldest entry goes
        QVERIFY(!cache.find(1, K::Phrases, 5));
        QVERIFY(cache.find(2, K::Phrases, 1) && cache.find(3, K::Phrases, 1));
        cache.store(2, K::Phrases, 2, reply(10)); // replacing frees its old bytes
        cache.store(4, K::Classes, 1, reply(40));
        QVERIFY(cache.find(2, K::Phrases, 2) && cache.find(3, K::Phrases, 1) && cache.find(4, K::Classes, 1));
    }

    void fairMutexExcludes() {
        FairMutex mutex;
        long counter = 0; // deliberately plain: only the lock protects it
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < 20000; ++i) {
                    std::lock_guard lock(mutex);
                    ++counter;
                }
            });
        for (auto &t : threads)
            t.join();
        QCOMPARE(counter, 160000L);
    }
};

QTEST_GUILESS_MAIN(TestServerStorage)
#include "tst_server_storage.moc"
