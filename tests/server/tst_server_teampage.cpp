#include "serviceclient.h"

#include "cloudservice.h"
#include "headlesschromium.h"
#include "security/secrets.h"

#include <QTest>

using nlohmann::json;

// The team page in a real browser, as a team's owner uses it: sign in, add a member, change a
// role, read what is used.
class TestServerTeamPage : public QObject {
    Q_OBJECT

    CloudService service_;
    HeadlessChromium browser_;

    std::string roleOf(const std::string &name) {
        ServiceClient c(service_.baseUrl().toStdString());
        if (const auto r = c.login(name, "password-1"); r.state() != 1)
            return "sign-in failed: " + r.describe();
        const auto libraries = c.post("/api/team/libraries", {});
        for (const auto &library : libraries.json["data"])
            if (library.value("dbname", "") == "acme")
                return library.value("role", "");
        return "not a member: " + libraries.describe();
    }
    // Text of the page's element, or empty.
    QString text(const QString &selector) {
        return browser_
            .evaluate(
                QStringLiteral("(document.querySelector('%1') || {innerText: ''}).innerText").arg(selector))
            .toString();
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(Secrets::init());
        QVERIFY(service_.start());
        for (const char *name : {"lead", "ed", "ag"})
            QVERIFY(service_.addUser(QString::fromLatin1(name), QStringLiteral("password-1")));
        QCOMPARE(service_.run({"team", "create", "acme", "lead"}), 0);
        QCOMPARE(service_.run({"team", "add", "acme", "ag", "agent"}), 0);
        // Two phrases; the agent sends one of them five times.
        ServiceClient lead(service_.baseUrl().toStdString());
        QCOMPARE(lead.login("lead", "password-1").state(), 1);
        const auto cls =
            lead.post("/api/word/class/getAll", {{"dbname", "acme"}}).json["data"][0].value("sign", "");
        std::vector<std::string> signs;
        for (const char *label : {"退款说明", "发货时间"}) {
            const auto r = lead.post("/api/word/list/create",
                                     {{"parentSign", cls},
                                      {"label", label},
                                      {"jsonValue", json::array({{{"type", 1}, {"value", label}}}).dump()},
                                      {"position", std::to_string(signs.size())},
                                      {"dbname", "acme"}});
            signs.push_back(r.json.value("sign", ""));
        }
        ServiceClient ag(service_.baseUrl().toStdString());
        QCOMPARE(ag.login("ag", "password-1").state(), 1);
        EXPECT_OK(ag.post("/api/team/usage",
                          {{"dbname", "acme"}, {"batch", "1"}, {"counts", json{{signs[0], 5}}.dump()}}));
        QVERIFY2(browser_.start(), qPrintable(browser_.error()));
    }

    void ownerManagesMembersAndReadsUsage() {
        QVERIFY2(browser_.open(service_.baseUrl() + QStringLiteral("/team")), qPrintable(browser_.error()));
        QVERIFY(browser_.submit(QStringLiteral("document.getElementById('username').value = 'lead';"
                                               "document.getElementById('password').value = 'password-1';"
                                               "document.getElementById('login').requestSubmit()")));
        QCOMPARE(text(QStringLiteral("section.team h2")), QStringLiteral("acme"));

        // Add a member as an editor.
        QVERIFY(browser_.submit(
            QStringLiteral("const f = document.querySelector('form.add');"
                           "f.username.value = 'ed'; f.role.value = 'editor'; f.requestSubmit()")));
        QCOMPARE(text(QStringLiteral("#notice")), QStringLiteral("已保存"));
        QCOMPARE(
            browser_.evaluate(QStringLiteral("document.querySelector('tr[data-member=\"ed\"] select').value"))
                .toString(),
            QStringLiteral("editor"));
        QCOMPARE(QString::fromStdString(roleOf("ed")), QStringLiteral("editor"));

        // Make the agent an editor.
        QVERIFY(browser_.submit(
            QStringLiteral("const f = document.querySelector('tr[data-member=\"ag\"] form.role');"
                           "f.role.value = 'editor'; f.requestSubmit()")));
        QCOMPARE(QString::fromStdString(roleOf("ag")), QStringLiteral("editor"));
        QCOMPARE(
            browser_.evaluate(QStringLiteral("document.querySelector('tr[data-member=\"ag\"] select').value"))
                .toString(),
            QStringLiteral("editor"));

        // An unknown name is refused with a reason, nothing added.
        QVERIFY(browser_.submit(QStringLiteral("const f = document.querySelector('form.add');"
                                               "f.username.value = 'nobody'; f.requestSubmit()")));
        QCOMPARE(text(QStringLiteral("#notice")), QStringLiteral("没有这个用户"));

        // Usage: the sent phrase leads, the other was never used, the agent sent five.
        QVERIFY2(text(QStringLiteral("table.most-used")).contains(QStringLiteral("退款说明\t默认分类\t5")),
                 qPrintable(text(QStringLiteral("table.most-used"))));
        QVERIFY(
            text(QStringLiteral("table.unused")).contains(QStringLiteral("发货时间\t默认分类\t从未使用")));
        QVERIFY(!text(QStringLiteral("table.unused")).contains(QStringLiteral("退款说明")));
        QCOMPARE(text(QStringLiteral("table.per-member tr[data-member=\"ag\"]")),
                 QStringLiteral("ag\t编辑\t5\t5"));
    }

    // Posts without the page's form token change nothing, even with the owner's cookie.
    void foreignFormsChangeNothing() {
        QVERIFY(browser_.submit(
            QStringLiteral("const f = document.querySelector('tr[data-member=\"ed\"] form.role');"
                           "f.csrf.value = 'forged'; f.role.value = 'owner'; f.requestSubmit()")));
        QCOMPARE(text(QStringLiteral("#notice")), QStringLiteral("无权访问"));
        QCOMPARE(QString::fromStdString(roleOf("ed")), QStringLiteral("editor"));
    }
};

QTEST_GUILESS_MAIN(TestServerTeamPage)
#include "tst_server_teampage.moc"
