#include "rawconnection.h"
#include "serviceclient.h"

#include "cloudservice.h"
#include "postgrescluster.h"
#include "security/secrets.h"
#include "storage/pgconnection.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <random>
#include <set>
#include <thread>

using nlohmann::json;

namespace {

std::string text(const std::string &value) {
    return json::array({{{"type", 1}, {"value", value}}}).dump();
}

} // namespace

// Several service instances on one PostgreSQL database, the way a company runs them behind a load
// balancer: shared sessions and libraries, concurrent writers on different instances, the database
// going away under load, and moving a team over from SQLite.
class TestServerCluster : public QObject {
    Q_OBJECT

    PostgresCluster cluster_;
    int databases_ = 0;

    json getAll(ServiceClient &c, const char *what) {
        const auto r = c.post(std::string("/api/word/") + what + "/getAll", {{"dbname", c.username}});
        return r.state() == 1 ? r.json["data"] : json();
    }
    std::string createPhrase(ServiceClient &c, const std::string &parent, const std::string &label,
                             int position, ServiceClient::Reply *reply = nullptr) {
        const auto r = c.post("/api/word/list/create", {{"parentSign", parent},
                                                        {"label", label},
                                                        {"jsonValue", text(label)},
                                                        {"position", std::to_string(position)},
                                                        {"dbname", c.username}});
        if (reply)
            *reply = r;
        return r.state() == 1 ? r.json.value("sign", "") : "";
    }
    // A second client carrying the first one's session to another instance.
    static std::unique_ptr<ServiceClient> sameSession(const ServiceClient &signedIn, const CloudService &at) {
        auto c = std::make_unique<ServiceClient>(at.baseUrl().toStdString());
        c->cookie = signedIn.cookie;
        c->username = signedIn.username;
        return c;
    }
    // Two instances on a fresh database, with one account signed in on the first.
    struct Pair {
        CloudService a, b;
        std::unique_ptr<ServiceClient> onA;
        std::string firstClass;
    };
    bool startPair(Pair &pair) {
        const auto name = QStringLiteral("c%1").arg(++databases_);
        if (!cluster_.createDatabase(name))
            return false;
        pair.a.setDatabase(cluster_.url(name));
        pair.b.setDatabase(cluster_.url(name));
        if (!pair.a.start() || !pair.b.start() ||
            !pair.a.addUser(QStringLiteral("sam"), QStringLiteral("sam-password")))
            return false;
        pair.onA = std::make_unique<ServiceClient>(pair.a.baseUrl().toStdString());
        if (pair.onA->login("sam", "sam-password").state() != 1)
            return false;
        pair.firstClass = getAll(*pair.onA, "class").at(0).value("sign", "");
        return true;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(Secrets::init());
        QVERIFY2(cluster_.start(), qPrintable(cluster_.error()));
    }

    void anyInstanceServesAnySessionAndSeesTheOthersWrites() {
        Pair pair;
        QVERIFY(startPair(pair));
        auto &onA = *pair.onA;
        const auto onB = sameSession(onA, pair.b);
        EXPECT_OK(onB->post("/api/user/getUserInfo", {}));
        const auto &cls = pair.firstClass;

        // Each instance has the library cached; a write through one is seen by the other at once.
        QCOMPARE(getAll(onA, "list").size(), std::size_t(0));
        QCOMPARE(getAll(*onB, "list").size(), std::size_t(0));
        const auto sign = createPhrase(*onB, cls, "from b", 0);
        QVERIFY(!sign.empty());
        const auto seen = getAll(onA, "list");
        QCOMPARE(seen.size(), std::size_t(1));
        QCOMPARE(seen.at(0).value("sign", ""), sign);
        EXPECT_OK(onA.post("/api/word/list/del", {{"sign", sign + "|"}, {"dbname", "sam"}}));
        QCOMPARE(getAll(*onB, "list").size(), std::size_t(0));

        // A new password ends the session on every instance.
        QCOMPARE(pair.b.run({QStringLiteral("passwd"), QStringLiteral("sam")}, "another-password\n"), 0);
        QCOMPARE(onA.post("/api/word/class/getAll", {{"dbname", "sam"}}).state(), 0);
        QCOMPARE((onB->post("/api/word/class/getAll", {{"dbname", "sam"}})).state(), 0);
    }

    void concurrentSwapsAndDeletesOnTwoInstancesKeepPositionsWhole() {
        Pair pair;
        QVERIFY(startPair(pair));
        auto &onA = *pair.onA;
        constexpr int count = 40;
        std::vector<std::string> signs;
        for (int i = 0; i < count; ++i)
            signs.push_back(createPhrase(onA, pair.firstClass, "p" + std::to_string(i), i));
        QVERIFY(std::none_of(signs.begin(), signs.end(), [](const std::string &s) { return s.empty(); }));

        // Swaps read two positions and write them back crossed: without the library lock, two swaps
        // sharing a phrase on different instances leave two phrases on one position.
        std::mutex mutex;
        std::set<std::string> deleted;
        std::atomic<int> unexpected{0};
        std::vector<std::thread> writers;
        for (int w = 0; w < 4; ++w)
            writers.emplace_back([&, w] {
                auto c = sameSession(onA, w % 2 ? pair.b : pair.a);
                std::mt19937 random(unsigned(w) * 7919u);
                std::uniform_int_distribution<int> pick(0, count - 1);
                for (int i = 0; i < 80; ++i) {
                    const auto &first = signs[std::size_t(pick(random))];
                    ServiceClient::Reply r;
                    if (i % 8 == 7) {
                        r = c->post("/api/word/list/del", {{"sign", first + "|"}, {"dbname", "sam"}});
                        if (r.state() == 1) {
                            std::lock_guard lock(mutex);
                            deleted.insert(first);
                        }
                    } else {
                        const auto &second = signs[std::size_t(pick(random))];
                        r = c->post("/api/word/list/swapPostion",
                                    {{"sign1", first}, {"sign2", second}, {"dbname", "sam"}});
                    }
                    // Refused only because a phrase was deleted meanwhile.
                    if (r.state() != 1 && r.json.value("msg", "") != "话术不存在")
                        ++unexpected;
                }
            });
        for (auto &t : writers)
            t.join();
        QCOMPARE(unexpected.load(), 0);
        QVERIFY(!deleted.empty());

        const auto phrases = getAll(*sameSession(onA, pair.b), "list");
        QCOMPARE(phrases.size(), std::size_t(count) - deleted.size());
        std::set<std::int64_t> positions;
        for (const auto &p : phrases) {
            QVERIFY(!deleted.count(p.value("sign", "")));
            const auto position = p.value("position", std::int64_t(-1));
            QVERIFY2(position >= 0 && position < count, p.dump().c_str());
            QVERIFY2(positions.insert(position).second,
                     ("two phrases on " + std::to_string(position)).c_str());
        }
        QCOMPARE(getAll(onA, "list").dump(), phrases.dump());
    }

    void aDatabaseOutageUnderLoadLosesNothingAcknowledged() {
        Pair pair;
        QVERIFY(startPair(pair));
        auto &onA = *pair.onA;

        std::mutex mutex;
        std::vector<std::string> acknowledged;
        std::vector<std::string> refusals;
        std::atomic<bool> outageOver{false}, done{false};
        std::atomic<int> ackedAfter{0};
        std::vector<std::thread> writers;
        for (int w = 0; w < 4; ++w)
            writers.emplace_back([&, w] {
                auto c = sameSession(onA, w % 2 ? pair.b : pair.a);
                for (int i = 0; i < 3000 && !done; ++i) {
                    ServiceClient::Reply r;
                    const bool after = outageOver;
                    const auto sign = createPhrase(*c, pair.firstClass,
                                                   "w" + std::to_string(w) + "-" + std::to_string(i), i, &r);
                    std::lock_guard lock(mutex);
                    if (!sign.empty()) {
                        acknowledged.push_back(sign);
                        ackedAfter += after;
                    } else {
                        refusals.push_back(r.describe());
                        std::this_thread::sleep_for(std::chrono::milliseconds(20));
                    }
                }
            });
        const auto waitFor = [](const std::function<bool()> &condition) {
            for (int i = 0; i < 300 && !condition(); ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            return condition();
        };
        QVERIFY(waitFor([&] {
            std::lock_guard lock(mutex);
            return acknowledged.size() >= 40;
        }));
        QVERIFY(cluster_.stop(true)); // as in a crash of the database machine
        std::this_thread::sleep_for(std::chrono::seconds(3));
        const bool restarted = cluster_.start();
        outageOver = true;
        const bool recovered = waitFor([&] { return ackedAfter >= 40; });
        done = true;
        for (auto &t : writers)
            t.join();
        QVERIFY2(restarted, qPrintable(cluster_.error()));
        QVERIFY(recovered);

        // Requests during the outage got the service's own error reply, never a dropped connection.
        QVERIFY(!refusals.empty());
        for (const auto &refusal : refusals)
            QVERIFY2(refusal.find("服务器") != std::string::npos, refusal.c_str());
        // Every acknowledged phrase is there, whichever instance is asked.
        const auto phrases = getAll(*sameSession(onA, pair.b), "list");
        std::set<std::string> stored;
        for (const auto &p : phrases)
            stored.insert(p.value("sign", ""));
        for (const auto &sign : acknowledged)
            QVERIFY2(stored.count(sign), sign.c_str());
        QCOMPARE(getAll(onA, "list").dump(), phrases.dump());
    }

    // An editor's change through one instance reaches a member's stream on the other (LISTEN/NOTIFY),
    // and a membership change made on one ends the stream held on the other.
    void teamChangeNoticesCrossInstances() {
        Pair pair;
        QVERIFY(startPair(pair));
        QVERIFY(pair.a.addUser(QStringLiteral("agent"), QStringLiteral("agent-password")));
        QCOMPARE(pair.a.run({"team", "create", "crew", "sam"}), 0);
        QCOMPARE(pair.a.run({"team", "add", "crew", "agent", "agent"}), 0);
        ServiceClient agent(pair.b.baseUrl().toStdString());
        EXPECT_OK(agent.login("agent", "agent-password"));
        RawConnection stream(pair.b.port());
        stream.send("GET /api/team/stream HTTP/1.1\r\nHost: 127.0.0.1\r\nCookie: " + agent.cookie +
                    "\r\n\r\n");
        QCOMPARE(stream.read().status, 200);
        const auto waitFor = [&](std::int64_t version) {
            for (auto event = stream.readEvent(); !event.empty(); event = stream.readEvent())
                if (event == "event: version\ndata: " + json{{"dbname", "crew"}, {"version", version}}.dump())
                    return true;
            return false;
        };
        QVERIFY(waitFor(1));
        const auto cls =
            pair.onA->post("/api/word/class/getAll", {{"dbname", "crew"}}).json["data"][0].value("sign", "");
        EXPECT_OK(pair.onA->post("/api/word/list/create", {{"parentSign", cls},
                                                           {"label", "x"},
                                                           {"jsonValue", text("x")},
                                                           {"position", "0"},
                                                           {"dbname", "crew"}}));
        QVERIFY(waitFor(2));
        EXPECT_REFUSED(agent.post("/api/word/list/create", {{"parentSign", cls},
                                                            {"label", "y"},
                                                            {"jsonValue", text("y")},
                                                            {"position", "1"},
                                                            {"dbname", "crew"}}),
                       "没有修改团队词库的权限");
        QCOMPARE(pair.a.run({"team", "remove", "crew", "agent"}), 0);
        QVERIFY(stream.closedWithin(std::chrono::seconds(10)));
    }

    void migrateCopiesARunningSqliteTeamAndVerifiesIt() {
        CloudService team; // SQLite, and still serving while it is copied
        QVERIFY(team.start());
        QVERIFY(team.addUser(QStringLiteral("tia"), QStringLiteral("tia-password")));
        ServiceClient old(team.baseUrl().toStdString());
        EXPECT_OK(old.login("tia", "tia-password"));
        const auto cls = getAll(old, "class").at(0).value("sign", "");
        for (int i = 0; i < 5; ++i)
            QVERIFY(!createPhrase(old, cls, "迁移 " + std::to_string(i), i).empty());
        const std::string png("\x89PNG\r\n\x1a\n moved picture \0 bytes", 30);
        const auto pictureName = Secrets::md5Hex(png) + ".png";
        EXPECT_OK(old.upload("tia", pictureName, png));
        const auto classes = getAll(old, "class").dump();
        const auto phrases = getAll(old, "list").dump();
        QCOMPARE(team.run({"team", "create", "tiateam", "tia"}), 0);
        const auto teamClass =
            old.post("/api/word/class/getAll", {{"dbname", "tiateam"}}).json["data"][0].value("sign", "");
        EXPECT_OK(old.post("/api/word/list/create", {{"parentSign", teamClass},
                                                     {"label", "t"},
                                                     {"jsonValue", text("t")},
                                                     {"position", "0"},
                                                     {"dbname", "tiateam"}}));
        const auto teamPhrases =
            old.post("/api/word/list/getAll", {{"dbname", "tiateam"}}).json["data"].dump();

        const auto name = QStringLiteral("m%1").arg(++databases_);
        QVERIFY(cluster_.createDatabase(name));
        const auto target = cluster_.url(name);
        const auto migrate = [&](QByteArray &output) {
            QProcess p;
            p.setProcessChannelMode(QProcess::MergedChannels);
            p.start(CloudService::binary(),
                    {"migrate", "--from", "sqlite:" + team.dataDir() + "/quillora-cloud.sqlite3", "--to",
                     target});
            if (!p.waitForFinished(60000))
                return -1;
            output = p.readAll();
            return p.exitCode();
        };
        QByteArray output;
        QCOMPARE(migrate(output), 0);
        QVERIFY2(output.contains("1 picture digests verified"), output.constData());

        CloudService moved;
        moved.setDatabase(target);
        QVERIFY(moved.start());
        // Sessions came along: the signed-in client just points at the new address.
        const auto same = sameSession(old, moved);
        QCOMPARE(getAll(*same, "class").dump(), classes);
        QCOMPARE(getAll(*same, "list").dump(), phrases);
        QCOMPARE(same->post("/api/word/list/getAll", {{"dbname", "tiateam"}}).json["data"].dump(),
                 teamPhrases);
        QByteArray list;
        QCOMPARE(moved.run({"team", "list"}, {}, &list), 0);
        QVERIFY2(list.endsWith("\ntiateam\n  tia owner\n"), list.constData()); // after the database's notices
        const auto got = same->get("/api/resource/word/getImage64/" + Secrets::toBase64(pictureName));
        QCOMPARE(Secrets::fromBase64(got.json.value("base64", "")).value_or(""), png);
        ServiceClient fresh(moved.baseUrl().toStdString());
        EXPECT_OK(fresh.login("tia", "tia-password"));
        // New rows get new ids after the copied ones.
        QVERIFY(!createPhrase(fresh, cls, "after", 9).empty());
        QVERIFY(moved.addUser(QStringLiteral("new"), QStringLiteral("new-password")));

        // A database that already holds accounts is left alone.
        QCOMPARE(migrate(output), 1);
        QVERIFY2(output.contains("already holds accounts"), output.constData());
        PgConnection db(target.toStdString());
        QCOMPARE(db.exec("SELECT COUNT(*) FROM users").integer(0, 0), std::int64_t(3));
    }

    void signInsBehindATrustedProxyAreCountedPerClient() {
        CloudService proxied({"--trusted-proxy", "127.0.0.1"}), direct;
        QVERIFY(proxied.start() && direct.start());
        const auto wrongPasswords = [](const CloudService &at, const std::function<std::string(int)> &client,
                                       int attempts) {
            httplib::Client c(at.baseUrl().toStdString());
            int throttled = 0;
            for (int i = 0; i < attempts; ++i) {
                const auto r = c.Post("/api/osx/login", {{"X-Forwarded-For", client(i)}},
                                      httplib::Params{{"usernames", "nobody"},
                                                      {"password", ServiceClient::cipherPassword("wrong")}});
                throttled += r && r->status == 429;
            }
            return throttled;
        };
        // The proxy relays many clients: one client's flood uses up only its own allowance.
        QVERIFY(wrongPasswords(
                    proxied, [](int) { return "203.0.113.9, 198.51.100.7"; }, 24) > 0);
        QCOMPARE(wrongPasswords(
                     proxied, [](int) { return "198.51.100.8"; }, 5),
                 0);
        // Without a trusted proxy the header is the client's own claim and changes nothing.
        QVERIFY(wrongPasswords(
                    direct, [](int i) { return "198.51.100." + std::to_string(i); }, 24) > 0);
    }

    void anUnreachableDatabaseStopsTheStartWithAReason() {
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(CloudService::binary(), {"serve", "--port", "0", "--database", cluster_.url("missing")});
        QVERIFY(p.waitForFinished(30000));
        QCOMPARE(p.exitCode(), 1);
        QVERIFY2(p.readAll().contains("cannot open the database"), "no reason given");
    }
};

QTEST_GUILESS_MAIN(TestServerCluster)
#include "tst_server_cluster.moc"
