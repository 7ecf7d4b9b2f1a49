#include "rawconnection.h"
#include "serviceclient.h"

#include "cloudservice.h"
#include "security/secrets.h"

#include <QTest>

using nlohmann::json;

namespace {

std::string text(const std::string &value) {
    return json::array({{{"type", 1}, {"value", value}}}).dump();
}

// The data of a "version" event, or null.
json versionOf(const std::string &event) {
    if (event.rfind("event: version\ndata: ", 0) != 0)
        return {};
    return json::parse(event.substr(21), nullptr, false);
}

} // namespace

// Team libraries over the real service on SQLite: who may read and change what, the change
// stream and its limits, usage counts, and the team commands run beside the running service.
class TestServerTeams : public QObject {
    Q_OBJECT

    CloudService service_{{QStringLiteral("--max-streams-per-account"), QStringLiteral("2"),
                           QStringLiteral("--max-streams-per-address"), QStringLiteral("3")}};
    std::map<std::string, std::unique_ptr<ServiceClient>> clients_;

    ServiceClient &as(const std::string &name) { return *clients_.at(name); }
    int team(const QStringList &args, QByteArray *output = nullptr) {
        return service_.run(QStringList{QStringLiteral("team")} + args, {}, output);
    }
    // A change stream of the account, from a loopback address of its own choosing.
    std::unique_ptr<RawConnection> openStream(const std::string &name, RawConnection::Response &head,
                                              const std::string &source = "127.0.0.1") {
        auto c = std::make_unique<RawConnection>(service_.port(), source);
        const std::string cookie = name.empty() ? "" : "Cookie: " + as(name).cookie + "\r\n";
        c->send("GET /api/team/stream HTTP/1.1\r\nHost: 127.0.0.1\r\nAccept: text/event-stream\r\n" + cookie +
                "\r\n");
        head = c->read();
        return c;
    }
    // Events until one names the library at a version of at least `atLeast`.
    static bool sawVersion(RawConnection &c, const std::string &dbname, std::int64_t atLeast) {
        for (;;) {
            const auto event = c.readEvent();
            if (event.empty())
                return false;
            const auto data = versionOf(event);
            if (data.is_object() && data.value("dbname", "") == dbname && data.value("version", 0) >= atLeast)
                return true;
        }
    }
    std::string firstClass(const std::string &who, const std::string &dbname) {
        const auto r = as(who).post("/api/word/class/getAll", {{"dbname", dbname}});
        return r.state() == 1 && !r.json["data"].empty() ? r.json["data"][0].value("sign", "") : "";
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(Secrets::init());
        QVERIFY(service_.start());
        for (const char *name : {"lead", "ed", "ag", "outsider"}) {
            QVERIFY(service_.addUser(QString::fromLatin1(name), QStringLiteral("password-1")));
            clients_[name] = std::make_unique<ServiceClient>(service_.baseUrl().toStdString());
            QCOMPARE(as(name).login(name, "password-1").state(), 1);
        }
        // Set up from the command line while the service runs.
        QCOMPARE(team({QStringLiteral("create"), QStringLiteral("acme"), QStringLiteral("lead")}), 0);
        QCOMPARE(team({QStringLiteral("add"), QStringLiteral("acme"), QStringLiteral("ed"),
                       QStringLiteral("editor")}),
                 0);
        QCOMPARE(team({QStringLiteral("add"), QStringLiteral("acme"), QStringLiteral("ag"),
                       QStringLiteral("agent")}),
                 0);
    }

    // Reads for every member, changes for editors and owners; nobody else sees the library, and a
    // personal library stays its owner's alone.
    void rolesDecideWhoReadsAndWhoChanges() {
        const auto libraries = as("ag").post("/api/team/libraries", {});
        QCOMPARE(libraries.state(), 1);
        QCOMPARE(libraries.json["data"].size(), std::size_t(2));
        QCOMPARE(libraries.json["data"][0].value("dbname", ""), std::string("ag"));
        QCOMPARE(libraries.json["data"][0].value("role", ""), std::string("owner"));
        QCOMPARE(libraries.json["data"][1].value("dbname", ""), std::string("acme"));
        QCOMPARE(libraries.json["data"][1].value("role", ""), std::string("agent"));
        QCOMPARE(libraries.json["data"][1].value("team", false), true);

        // A new team library starts as a new account's does.
        const auto cls = firstClass("ag", "acme");
        QVERIFY(!cls.empty());
        QCOMPARE(
            as("ag").post("/api/word/class/getAll", {{"dbname", "acme"}}).json["data"][0].value("label", ""),
            std::string("默认分类"));

        const httplib::Params phrase{{"parentSign", cls},
                                     {"label", "refund"},
                                     {"jsonValue", text("Refunds take 5 days")},
                                     {"position", "0"},
                                     {"dbname", "acme"}};
        EXPECT_REFUSED(as("ag").post("/api/word/list/create", phrase), "没有修改团队词库的权限");
        EXPECT_REFUSED(
            as("ag").post("/api/word/class/create", {{"label", "x"}, {"position", "1"}, {"dbname", "acme"}}),
            "没有修改团队词库的权限");
        EXPECT_REFUSED(as("ag").upload("acme", Secrets::md5Hex("png") + ".png", "png"),
                       "没有修改团队词库的权限");
        // An editor's picture is the team's, and every member downloads it.
        const std::string png("\x89PNG\r\n\x1a\n team picture", 21);
        const auto picture = Secrets::md5Hex(png) + ".png";
        EXPECT_OK(as("ed").upload("acme", picture, png));
        QCOMPARE(as("ag")
                     .get("/api/resource/word/getImage64/acme/" + Secrets::toBase64(picture))
                     .json.value("base64", ""),
                 Secrets::toBase64(png));
        const auto created = as("ed").post("/api/word/list/create", phrase);
        EXPECT_OK(created);
        const auto sign = created.json.value("sign", "");
        const auto seen = as("ag").post("/api/word/list/getAll", {{"dbname", "ACME"}});
        QCOMPARE(seen.json["data"].size(), std::size_t(1));
        QCOMPARE(seen.json["data"][0].value("label", ""), std::string("refund"));

        // Outsiders, other accounts' personal libraries and forged names.
        for (const auto &[who, dbname] : std::vector<std::pair<std::string, std::string>>{
                 {"outsider", "acme"}, {"ag", "lead"}, {"ed", "ag"}, {"ag", "acme2"}, {"ag", "acme\x01"}}) {
            EXPECT_REFUSED(as(who).post("/api/word/list/getAll", {{"dbname", dbname}}), "无权访问");
            EXPECT_REFUSED(as(who).post("/api/team/changes", {{"dbname", dbname}, {"since", "0"}}),
                           "无权访问");
            EXPECT_REFUSED(as(who).post("/api/word/list/del", {{"dbname", dbname}, {"sign", sign}}),
                           "无权访问");
        }
        ServiceClient stranger(service_.baseUrl().toStdString());
        EXPECT_REFUSED(stranger.post("/api/team/libraries", {}), "登录已失效，请重新登录");
        EXPECT_REFUSED(stranger.post("/api/word/list/getAll", {{"dbname", "acme"}}),
                       "登录已失效，请重新登录");
        // A team is no account: nobody signs in as one.
        QCOMPARE(ServiceClient(service_.baseUrl().toStdString()).login("acme", "").state(), 0);
        QVERIFY(service_.run({QStringLiteral("passwd"), QStringLiteral("acme")}, "new-password\n") != 0);
        QCOMPARE(ServiceClient(service_.baseUrl().toStdString()).login("acme", "new-password").state(), 0);
        EXPECT_OK(as("lead").post("/api/word/list/getAll", {{"dbname", "lead"}}));
        QCOMPARE(as("outsider").post("/api/word/list/getAll", {{"dbname", "acme"}}).json.contains("data"),
                 false);
    }

    // "Changes since" names what changed and what went, and everything when it cannot know.
    void changesSinceAVersion() {
        const auto cls = firstClass("ed", "acme");
        const auto before = as("ag").post("/api/team/changes", {{"dbname", "acme"}, {"since", "0"}});
        QCOMPARE(before.state(), 1);
        const auto v = before.json["data"].value("version", 0);
        const auto a = as("ed").post("/api/word/list/create", {{"parentSign", cls},
                                                               {"label", "a"},
                                                               {"jsonValue", text("a")},
                                                               {"position", "1"},
                                                               {"dbname", "acme"}});
        const auto b = as("ed").post("/api/word/list/create", {{"parentSign", cls},
                                                               {"label", "b"},
                                                               {"jsonValue", text("b")},
                                                               {"position", "2"},
                                                               {"dbname", "acme"}});
        EXPECT_OK(
            as("ed").post("/api/word/list/del", {{"dbname", "acme"}, {"sign", a.json.value("sign", "")}}));
        const auto after =
            as("ag").post("/api/team/changes", {{"dbname", "acme"}, {"since", std::to_string(v)}});
        QCOMPARE(after.state(), 1);
        const auto &data = after.json["data"];
        QCOMPARE(data.value("version", 0), v + 3);
        QCOMPARE(data.value("full", true), false);
        QCOMPARE(data["phrases"].size(), std::size_t(1));
        QCOMPARE(data["phrases"][0].value("sign", ""), b.json.value("sign", ""));
        QVERIFY(data["deleted"] == json::array({a.json.value("sign", "")}));
        QVERIFY(!data["classes"].empty());
        const auto ahead =
            as("ag").post("/api/team/changes", {{"dbname", "acme"}, {"since", std::to_string(v + 100)}});
        QCOMPARE(ahead.json["data"].value("full", false), true);
        QCOMPARE(ahead.json["data"]["phrases"].size(), std::size_t(2));
    }

    // Counts are kept once per batch, only for the team's phrases, and the command exports them.
    void usageBatchesCountOnce() {
        const auto phrases = as("ag").post("/api/word/list/getAll", {{"dbname", "acme"}}).json["data"];
        const auto sign = phrases[0].value("sign", "");
        const json counts{{sign, 3}, {"not-a-phrase", 5}};
        for (int i = 0; i < 2; ++i)
            EXPECT_OK(as("ag").post("/api/team/usage",
                                    {{"dbname", "acme"}, {"batch", "b-1"}, {"counts", counts.dump()}}));
        EXPECT_OK(as("ed").post("/api/team/usage",
                                {{"dbname", "acme"}, {"batch", "b-1"}, {"counts", json{{sign, 1}}.dump()}}));
        EXPECT_REFUSED(
            as("outsider")
                .post("/api/team/usage", {{"dbname", "acme"}, {"batch", "x"}, {"counts", counts.dump()}}),
            "无权访问");
        EXPECT_REFUSED(as("ag").post("/api/team/usage",
                                     {{"dbname", "acme"}, {"batch", "b-2"}, {"counts", "{\"x\":-1}"}}),
                       "参数错误");
        QByteArray csv;
        QCOMPARE(team({QStringLiteral("usage"), QStringLiteral("acme"), QStringLiteral("--csv")}, &csv), 0);
        const auto label = QByteArray::fromStdString(phrases[0].value("label", ""));
        QVERIFY2(csv.contains("\nphrase," + label + ",默认分类,4,"), csv.constData());
        QVERIFY2(csv.contains("\nmember,ag,agent,3,3\n"), csv.constData());
        QVERIFY2(csv.contains("\nmember,ed,editor,1,1\n"), csv.constData());
        QVERIFY2(!csv.contains("not-a-phrase"), csv.constData());
    }

    // A stream tells every library's version at once and each committed change after; dead
    // sessions are turned away before it starts.
    void streamCarriesChangeNotices() {
        RawConnection::Response head;
        auto stream = openStream("ag", head);
        QCOMPARE(head.status, 200);
        QCOMPARE(head.headers["content-type"], std::string("text/event-stream"));
        const auto v = as("ag").post("/api/team/libraries", {}).json["data"][1].value("version", 0);
        QVERIFY(sawVersion(*stream, "ag", 0));
        QVERIFY(sawVersion(*stream, "acme", v));
        const auto cls = firstClass("ed", "acme");
        EXPECT_OK(as("ed").post("/api/word/class/upLabel",
                                {{"sign", cls}, {"newLabel", "常用"}, {"dbname", "acme"}}));
        QVERIFY(sawVersion(*stream, "acme", v + 1));
        // Its own library's changes reach it too.
        EXPECT_OK(as("ag").post("/api/word/class/create",
                                {{"label", "mine"}, {"position", "1"}, {"dbname", "ag"}}));
        QVERIFY(sawVersion(*stream, "ag", 1));

        auto dead = openStream("", head);
        QCOMPARE(head.status, 401);
        QCOMPARE(json::parse(head.body, nullptr, false).value("state", 1), 0);
    }

    // Losing a role ends the member's stream and its next request; a new team is announced.
    void removalAndLowerRoleTakeEffectAtOnce() {
        QVERIFY(service_.addUser(QStringLiteral("temp"), QStringLiteral("password-1")));
        clients_["temp"] = std::make_unique<ServiceClient>(service_.baseUrl().toStdString());
        QCOMPARE(as("temp").login("temp", "password-1").state(), 1);
        QCOMPARE(team({QStringLiteral("add"), QStringLiteral("acme"), QStringLiteral("temp"),
                       QStringLiteral("editor")}),
                 0);
        RawConnection::Response head;
        auto stream = openStream("temp", head);
        QCOMPARE(head.status, 200);
        QVERIFY(sawVersion(*stream, "acme", 1));

        QCOMPARE(team({QStringLiteral("create"), QStringLiteral("beta"), QStringLiteral("temp")}), 0);
        QCOMPARE(stream->readEvent(), std::string("event: libraries\ndata: {}"));
        QVERIFY(sawVersion(*stream, "beta", 1));

        QCOMPARE(team({QStringLiteral("role"), QStringLiteral("acme"), QStringLiteral("temp"),
                       QStringLiteral("agent")}),
                 0);
        EXPECT_REFUSED(as("temp").post("/api/word/class/create",
                                       {{"label", "x"}, {"position", "1"}, {"dbname", "acme"}}),
                       "没有修改团队词库的权限");
        QVERIFY(stream->closedWithin(std::chrono::seconds(10)));

        stream = openStream("temp", head);
        QCOMPARE(head.status, 200);
        QVERIFY(sawVersion(*stream, "acme", 1));
        QCOMPARE(team({QStringLiteral("remove"), QStringLiteral("acme"), QStringLiteral("temp")}), 0);
        EXPECT_REFUSED(as("temp").post("/api/word/list/getAll", {{"dbname", "acme"}}), "无权访问");
        QVERIFY(stream->closedWithin(std::chrono::seconds(10)));

        // A new password ends the sessions and with them the streams.
        stream = openStream("temp", head);
        QCOMPARE(head.status, 200);
        QCOMPARE(service_.run({QStringLiteral("passwd"), QStringLiteral("temp")}, "password-2\n"), 0);
        QVERIFY(stream->closedWithin(std::chrono::seconds(10)));

        // The last owner stays; a team's name is no account's.
        QByteArray said;
        QVERIFY(team({QStringLiteral("remove"), QStringLiteral("beta"), QStringLiteral("temp")}, &said) != 0);
        QVERIFY2(said.contains("without an owner"), said.constData());
        QVERIFY(team({QStringLiteral("create"), QStringLiteral("lead"), QStringLiteral("temp")}) != 0);
        QVERIFY(!service_.addUser(QStringLiteral("beta"), QStringLiteral("password-1")));
        QCOMPARE(team({QStringLiteral("delete"), QStringLiteral("beta")}), 0);
        QByteArray list;
        QCOMPARE(team({QStringLiteral("list")}, &list), 0);
        QCOMPARE(list, QByteArray("acme\n  lead owner\n  ed editor\n  ag agent\n"));
    }

    // Streams are capped per account and per address; a closed one gives its place back.
    void streamFloodIsCapped() {
        RawConnection::Response head;
        std::vector<std::unique_ptr<RawConnection>> held;
        for (int i = 0; i < 2; ++i) {
            held.push_back(openStream("lead", head, "127.0.0.9"));
            QCOMPARE(head.status, 200);
        }
        auto refused = openStream("lead", head, "127.0.0.9");
        QCOMPARE(head.status, 429);
        QVERIFY(!head.headers["retry-after"].empty());
        QCOMPARE(json::parse(head.body, nullptr, false).value("state", 1), 0);
        held.push_back(openStream("ed", head, "127.0.0.9"));
        QCOMPARE(head.status, 200);
        refused = openStream("outsider", head, "127.0.0.9");
        QCOMPARE(head.status, 429);
        // Another address is not held back by this one.
        auto other = openStream("outsider", head, "127.0.0.10");
        QCOMPARE(head.status, 200);
        held.erase(held.begin());
        // The service hears of the close a moment later.
        for (int attempt = 0; attempt < 100; ++attempt) {
            QTest::qWait(100);
            auto again = openStream("outsider", head, "127.0.0.9");
            if (head.status != 429)
                break;
        }
        QCOMPARE(head.status, 200);
    }
};

QTEST_GUILESS_MAIN(TestServerTeams)
#include "tst_server_teams.moc"
