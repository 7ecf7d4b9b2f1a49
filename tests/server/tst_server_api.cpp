#include "rawconnection.h"
#include "serviceclient.h"

#include "cloudservice.h"
#include "security/secrets.h"
#include "testenv.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <zlib.h>

#include <cctype>
#include <cstdio>

using nlohmann::json;

namespace {

// The name the client gives a picture of these bytes.
std::string picName(const std::string &bytes, const char *extension) {
    return Secrets::md5Hex(bytes) + "." + extension;
}

std::string content(std::initializer_list<std::pair<int, std::string>> items) {
    json a = json::array();
    for (const auto &[t, v] : items)
        a.push_back({{"type", t}, {"value", v}});
    return a.dump();
}

} // namespace

class TestServerApi : public QObject {
    Q_OBJECT

    CloudService service_;
    std::unique_ptr<ServiceClient> alice_; // signed in once, shared by the cases
    std::unique_ptr<ServiceClient> bob_;

    std::string url() const { return service_.baseUrl().toStdString(); }

    static json getAll(ServiceClient &c, const char *what) {
        const auto r = c.library(std::string("/api/word/") + what + "/getAll", {});
        return r.state() == 1 ? r.json["data"] : json();
    }
    static std::string createClass(ServiceClient &c, const std::string &label, int position) {
        const auto r =
            c.library("/api/word/class/create", {{"label", label}, {"position", std::to_string(position)}});
        return r.state() == 1 ? r.json.value("sign", "") : "";
    }
    static ServiceClient::Reply addPhrase(ServiceClient &c, const std::string &parent,
                                          const std::string &jsonValue, const std::string &label = "l",
                                          const std::string &position = "0") {
        return c.library(
            "/api/word/list/create",
            {{"parentSign", parent}, {"label", label}, {"jsonValue", jsonValue}, {"position", position}});
    }
    static std::string createPhrase(ServiceClient &c, const std::string &parent, const std::string &label,
                                    const std::string &jsonValue, int position) {
        const auto r = addPhrase(c, parent, jsonValue, label, std::to_string(position));
        return r.state() == 1 ? r.json.value("sign", "") : "";
    }
    // Strict: the whole stream, its checksum and length must be right.
    static std::string gunzip(const std::string &packed) {
        z_stream z{};
        if (inflateInit2(&z, 15 + 16) != Z_OK)
            return "<no zlib>";
        std::string out(packed.size() * 64 + 1024, '\0');
        z.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(packed.data()));
        z.avail_in = uInt(packed.size());
        z.next_out = reinterpret_cast<Bytef *>(out.data());
        z.avail_out = uInt(out.size());
        const int rc = inflate(&z, Z_FINISH);
        out.resize(z.total_out);
        const bool whole = rc == Z_STREAM_END && z.avail_in == 0;
        inflateEnd(&z);
        return whole ? out : "<broken stream>";
    }
    static std::vector<std::string> field(const json &data, const char *key) {
        std::vector<std::string> out;
        for (const auto &item : data)
            out.push_back(item.value(key, ""));
        return out;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(Secrets::init());
        QVERIFY(service_.start());
        QVERIFY(service_.addUser("Alice", "alice-pw"));
        QVERIFY(service_.addUser("bob", "bob-pw"));
        QVERIFY(!service_.addUser("ALICE", "other")); // names ignore ASCII case
        alice_ = std::make_unique<ServiceClient>(url());
        bob_ = std::make_unique<ServiceClient>(url());
        EXPECT_OK(alice_->login("alice", "alice-pw"));
        EXPECT_OK(bob_->login("BOB", "bob-pw"));
    }

    void versionTouristAndSession() {
        ServiceClient anon(url());
        const auto version = anon.post("/api/util/osx/getVersionForm", {{"version", "1"}});
        EXPECT_OK(version);
        QCOMPARE(version.json.value("version", 0), 1);
        QCOMPARE(version.json.value("url", ""), url() + "/");
        QCOMPARE(anon.post("/api/ios/getIsTourist", {}).json.value("re", -1), 1);
        QCOMPARE(alice_->post("/api/ios/getIsTourist", {}).json.value("re", -1), 0);

        // The reply carries the stored spelling, whatever was typed; the cookie is a 128-bit token.
        QCOMPARE(alice_->username, std::string("Alice"));
        const auto cookie = QString::fromStdString(alice_->cookie);
        QVERIFY(QRegularExpression("quillora_session=[0-9a-f]{32};").match(cookie).hasMatch());
        QVERIFY(cookie.contains(" Path=/;") && cookie.contains(" SameSite=Lax;") &&
                !cookie.contains("Secure"));
        const auto info = alice_->post("/api/user/getUserInfo", {});
        EXPECT_OK(info);
        QCOMPARE(info.json.value("username", ""), std::string("Alice"));
        EXPECT_OK(alice_->post("/api/user/SyncCheckOSX", {}));

        QCOMPARE(anon.post("/api/user/SyncCheckOSX", {}).state(), -1);
        EXPECT_REFUSED(anon.post("/api/user/getUserInfo", {}), "登录已失效，请重新登录");
        anon.cookie = "quillora_session=00000000000000000000000000000000;";
        QCOMPARE(anon.post("/api/user/SyncCheckOSX", {}).state(), -1);
        // The "username" form field never decides who is asking.
        anon.username = "Alice";
        EXPECT_REFUSED(anon.library("/api/word/class/getAll", {}), "登录已失效，请重新登录");
    }

    void repeatedFailuresMakeFailingAddressesWaitButNotTheOwner() {
        QVERIFY(service_.addUser("carol", "carol-pw"));
        ServiceClient c(url());
        EXPECT_REFUSED(c.login("nobody", "x"), "用户名或密码错误");
        EXPECT_REFUSED(c.post("/api/osx/login", {{"usernames", "carol"}}), "参数错误");
        EXPECT_REFUSED(c.post("/api/osx/login", {{"usernames", "carol"}, {"password", "***"}}), "参数错误");
        for (int i = 0; i < 4; ++i)
            EXPECT_REFUSED(c.login("carol", "wrong"), "用户名或密码错误");
        EXPECT_REFUSED(c.login("Carol", "wrong"), "登录失败次数过多，请1分钟后再试");
        // The address that failed waits, even with the right password, and gets no cookie.
        const auto waiting = c.login("carol", "carol-pw");
        QVERIFY(waiting.state() == 0 && QString::fromStdString(waiting.msg()).contains("分钟后再试"));
        QVERIFY(waiting.setCookie.empty() && c.cookie.empty());
        // Sign-in failures never lock the reset page, even for the address that failed.
        EXPECT_OK(
            c.postForm("/api/web/reset",
                       {{"username", "carol"}, {"oldPassword", "carol-pw"}, {"newPassword", "carol-pw2"}}));
        EXPECT_OK(
            c.postForm("/api/web/reset",
                       {{"username", "carol"}, {"oldPassword", "carol-pw2"}, {"newPassword", "carol-pw"}}));
        // The owner, from an address without failures, signs in as usual.
        RawConnection owner(service_.port(), "127.0.0.2");
        QVERIFY(owner.send(
            RawConnection::formPost("/api/osx/login", "usernames=carol&username=123&password=" +
                                                          ServiceClient::cipherPassword("carol-pw"))));
        const auto in = owner.read();
        QCOMPARE(json::parse(in.body, nullptr, false).value("state", 0), 1);
        QVERIFY(in.headers.count("set-cookie"));
    }

    void classesStartWithOneAndChangeInPlace() {
        // A new account has one class, which cannot be deleted.
        const auto first = getAll(*bob_, "class");
        QCOMPARE(field(first, "label"), std::vector<std::string>{"默认分类"});
        QCOMPARE(first[0].value("username", ""), std::string("bob"));
        EXPECT_REFUSED(bob_->library("/api/word/class/del", {{"sign", first[0].value("sign", "") + "|"}}),
                       "至少需要保留一个分类，不能删除全部分类");
        QVERIFY(getAll(*bob_, "list").empty());

        auto &c = *alice_;
        const auto a = createClass(c, "售前", 1), b = createClass(c, "售后", 2);
        QVERIFY(a.size() == 32 && a != b);
        // "dbname" ignores ASCII case like the names themselves.
        EXPECT_OK(c.library("/api/word/class/upLabel",
                            {{"sign", a}, {"newLabel", "售前咨询"}, {"dbname", "alice"}}));
        EXPECT_OK(c.library("/api/word/class/swapPosition", {{"sign1", a}, {"sign2", b}}));
        const auto data = getAll(c, "class");
        QCOMPARE(field(data, "label"), (std::vector<std::string>{"默认分类", "售后", "售前咨询"}));
        QCOMPARE(data[2].value("position", -1), 2);

        EXPECT_REFUSED(c.library("/api/word/class/upLabel", {{"sign", "nope"}, {"newLabel", "x"}}),
                       "分类不存在");
        EXPECT_REFUSED(c.library("/api/word/class/swapPosition", {{"sign1", a}, {"sign2", "nope"}}),
                       "分类不存在");
        EXPECT_REFUSED(c.library("/api/word/class/create", {{"label", "x"}, {"position", "1.5"}}),
                       "参数错误");
        EXPECT_REFUSED(c.post("/api/word/class/create", {{"label", "x"}, {"position", "1"}}), "参数错误");
        EXPECT_REFUSED(
            c.library("/api/word/class/create", {{"label", std::string(201, 'x')}, {"position", "1"}}),
            "名称不能超过200个字");
        // Labels count characters, not bytes; they must be clean UTF-8 without NUL.
        std::string twoHundred;
        for (int i = 0; i < 200; ++i)
            twoHundred += "字";
        const auto longOne = createClass(c, twoHundred, 3);
        QVERIFY(!longOne.empty());
        for (const auto &bad :
             {std::string("a\0b", 3), std::string("\xe0\x80\xaf"), std::string("\xed\xa0\x80")})
            EXPECT_REFUSED(c.library("/api/word/class/create", {{"label", bad}, {"position", "1"}}),
                           "参数错误");

        // A deletion naming one unknown sign changes nothing at all.
        EXPECT_REFUSED(c.library("/api/word/class/del", {{"sign", b + "|nope|"}}), "分类不存在");
        QCOMPARE(getAll(c, "class").size(), std::size_t(4));
        EXPECT_OK(c.library("/api/word/class/del", {{"sign", longOne}}));
        QCOMPARE(getAll(c, "class").size(), std::size_t(3));
        EXPECT_REFUSED(c.library("/api/word/class/del", {{"sign", "|"}}), "参数错误");
    }

    void phrasesDeriveColumnsAndKeepOrder() {
        auto &c = *alice_;
        const auto classes = getAll(c, "class");
        const auto first = classes[0].value("sign", ""), second = classes[1].value("sign", "");
        // Created out of order across two classes: the reply sorts by class, then position.
        const auto p3 = createPhrase(c, second, "三", content({{1, "three"}}), 0);
        const auto p2 = createPhrase(c, first, "二", content({{1, "two"}}), 5);
        const auto a = picName("a", "png"), b = picName("b", "gif");
        const auto p1 =
            createPhrase(c, first, "一", content({{1, "Hi "}, {2, a}, {1, "there"}, {2, a}, {2, b}}), 1);
        auto data = getAll(c, "list");
        QCOMPARE(field(data, "sign"), (std::vector<std::string>{p1, p2, p3}));
        const auto &one = data[0];
        QCOMPARE(one.value("texts", ""), std::string("Hi there"));
        QCOMPARE(one.value("images", ""), a + "|" + b + "|");
        QCOMPARE(one.value("parentSign", ""), first);
        QCOMPARE(one.value("username", ""), std::string("Alice"));
        QCOMPARE(one.value("position", -1), 1);
        QVERIFY(one.contains("id") && one.contains("jsonValue") && one.contains("label"));
        QVERIFY(one.value("keycode", "x").empty() && one.value("bgColor", "x").empty());

        // Editing moves the phrase and derives its columns again; its position stays.
        const auto edit = [&](const std::string &sign, const std::string &parent,
                              const std::string &jsonValue) {
            return c.library("/api/word/list/upValue", {{"sign", sign},
                                                        {"newParentSign", parent},
                                                        {"newLabel", "一改"},
                                                        {"newJsonValue", jsonValue}});
        };
        EXPECT_OK(edit(p1, second, content({{2, picName("x", "jpg")}})));
        EXPECT_OK(c.library("/api/word/list/swapPostion", {{"sign1", p3}, {"sign2", p1}}));
        data = getAll(c, "list");
        QCOMPARE(field(data, "sign"), (std::vector<std::string>{p2, p1, p3}));
        QCOMPARE(data[1].value("label", ""), std::string("一改"));
        QCOMPARE(data[1].value("texts", "x"), std::string());
        QCOMPARE(data[1].value("images", ""), picName("x", "jpg") + "|");
        QCOMPARE(data[1].value("position", -1), 0);
        EXPECT_REFUSED(edit(p1, "nope", "[]"), "所属分类不存在");
        EXPECT_REFUSED(edit("nope", first, "[]"), "话术不存在");

        // Several signs at once, atomically; an unknown one spoils the whole request.
        EXPECT_REFUSED(c.library("/api/word/list/del", {{"sign", p2 + "|" + p3 + "|nope|"}}), "话术不存在");
        QCOMPARE(getAll(c, "list").size(), std::size_t(3));
        EXPECT_OK(c.library("/api/word/list/del", {{"sign", p2 + "|" + p3 + "|"}}));
        QCOMPARE(field(getAll(c, "list"), "sign"), std::vector<std::string>{p1});

        // Deleting a class takes its phrases with it.
        const auto doomed = createClass(c, "临时", 9);
        QVERIFY(!createPhrase(c, doomed, "temp", content({{1, "t"}}), 0).empty());
        EXPECT_OK(c.library("/api/word/class/del", {{"sign", doomed + "|"}}));
        QCOMPARE(field(getAll(c, "list"), "sign"), std::vector<std::string>{p1});
    }

    void librariesAreSentCompressedToCallersThatAcceptIt() {
        const auto expected = getAll(*alice_, "list");
        QVERIFY(!expected.empty());
        httplib::Client raw(url());
        raw.set_decompress(false);
        const httplib::Params form{{"dbname", "Alice"}, {"username", "Alice"}};
        const auto plain = raw.Post("/api/word/list/getAll", {{"Cookie", alice_->cookie}}, form);
        QVERIFY(plain && plain->status == 200);
        QVERIFY(!plain->has_header("Content-Encoding"));
        QVERIFY(json::parse(plain->body)["data"] == expected);

        const auto packed =
            raw.Post("/api/word/list/getAll",
                     {{"Cookie", alice_->cookie}, {"Accept-Encoding", "gzip, deflate"}}, form);
        QVERIFY(packed && packed->status == 200);
        QCOMPARE(packed->get_header_value("Content-Encoding"), std::string("gzip"));
        QVERIFY(packed->body.size() > 2 && uint8_t(packed->body[0]) == 0x1f &&
                uint8_t(packed->body[1]) == 0x8b);
        // The default client inflates it again and sees the same library.
        httplib::Client inflating(url());
        const auto again = inflating.Post("/api/word/list/getAll",
                                          {{"Cookie", alice_->cookie}, {"Accept-Encoding", "gzip"}}, form);
        QVERIFY(again && again->status == 200);
        QCOMPARE(again->body, plain->body);

        // Replies are compressed in pieces and pieces are reused across changes: after changes at
        // either end and in the middle of a library of many pieces, the stream still inflates,
        // with a right checksum and length, to exactly the plain reply.
        const auto cls = createClass(*alice_, "pieces", 90);
        std::vector<std::string> signs;
        for (int i = 0; i < 120; ++i)
            signs.push_back(
                createPhrase(*alice_, cls, "p" + std::to_string(i),
                             R"([{"type":1,"value":")" + std::string(300, char('a' + i % 26)) + R"("}])", i));
        for (const auto &change : {signs[60], signs[0], signs[119]}) {
            EXPECT_OK(alice_->library("/api/word/list/del", {{"sign", change}}));
            QVERIFY(!createPhrase(*alice_, cls, "new", R"([{"type":1,"value":"x"}])", 200).empty());
            const auto now = raw.Post("/api/word/list/getAll", {{"Cookie", alice_->cookie}}, form);
            const auto zipped = raw.Post("/api/word/list/getAll",
                                         {{"Cookie", alice_->cookie}, {"Accept-Encoding", "gzip"}}, form);
            QVERIFY(now && zipped && zipped->get_header_value("Content-Encoding") == "gzip");
            QCOMPARE(gunzip(zipped->body), now->body);
        }
    }

    void phraseContentIsCheckedBeforeAnythingIsStored() {
        auto &c = *alice_;
        const auto parent = getAll(c, "class")[0].value("sign", "");
        const auto before = getAll(c, "list").size();
        // The rules themselves are the rules test's; here: each is applied, with its own text.
        EXPECT_REFUSED(addPhrase(c, parent, "[{\"type\":3,\"value\":\"a\"}]"), "话术内容格式错误");
        EXPECT_REFUSED(addPhrase(c, parent, R"([{"type":2,"type":1,"value":"a"}])"), "话术内容格式错误");
        EXPECT_REFUSED(addPhrase(c, parent, content({{1, std::string(1024 * 1024, 'a')}})),
                       "话术内容过长（最多1MB）");
        EXPECT_REFUSED(addPhrase(c, parent, content({{2, ".jpg"}})),
                       "图片格式不支持，请使用 PNG/JPG/GIF/BMP");
        EXPECT_REFUSED(addPhrase(c, "nope", "[]"), "所属分类不存在");
        EXPECT_REFUSED(
            c.library("/api/word/list/create", {{"parentSign", parent}, {"label", "l"}, {"jsonValue", "[]"}}),
            "参数错误");
        QCOMPARE(getAll(c, "list").size(), before);
        // Well past an HTTP library's usual 8 KiB form limit, yet within ours, escapes and all.
        const auto large = std::string(300 * 1024, 'a') + "字\n&=+%";
        const auto largeSign = createPhrase(c, parent, "large", content({{1, large}}), 0);
        bool seen = false;
        for (const auto &p : getAll(c, "list"))
            seen = seen || (p.value("sign", "") == largeSign && p.value("texts", "") == large);
        QVERIFY(seen);
        EXPECT_OK(c.library("/api/word/list/del", {{"sign", largeSign}}));
    }

    void usersCannotTouchEachOther() {
        auto &a = *alice_;
        auto &b = *bob_;
        const auto aliceClass = getAll(a, "class")[0].value("sign", "");
        const auto alicePhrase = createPhrase(a, aliceClass, "mine", content({{1, "secret"}}), 7);
        const auto classesBefore = getAll(a, "class").dump();
        const auto phrasesBefore = getAll(a, "list").dump();

        // Naming Alice's library from Bob's session.
        const std::vector<std::pair<std::string, httplib::Params>> calls = {
            {"/api/word/class/getAll", {}},
            {"/api/word/list/getAll", {}},
            {"/api/word/class/create", {{"label", "x"}, {"position", "1"}}},
            {"/api/word/class/del", {{"sign", aliceClass}}},
            {"/api/word/class/upLabel", {{"sign", aliceClass}, {"newLabel", "x"}}},
            {"/api/word/class/swapPosition", {{"sign1", aliceClass}, {"sign2", aliceClass}}},
            {"/api/word/list/create",
             {{"parentSign", aliceClass}, {"label", "x"}, {"jsonValue", "[]"}, {"position", "1"}}},
            {"/api/word/list/del", {{"sign", alicePhrase}}},
            {"/api/word/list/upValue",
             {{"sign", alicePhrase},
              {"newParentSign", aliceClass},
              {"newLabel", "x"},
              {"newJsonValue", "[]"}}},
            {"/api/word/list/swapPostion", {{"sign1", alicePhrase}, {"sign2", alicePhrase}}},
        };
        for (auto [path, params] : calls) {
            params.emplace("dbname", "Alice");
            const auto r = b.post(path, params);
            QVERIFY2(r.state() == 0 && r.msg() == "无权访问", (path + " " + r.json.dump()).c_str());
        }
        // Alice's signs inside Bob's own library do not exist.
        const auto bobClass = getAll(b, "class")[0].value("sign", "");
        EXPECT_REFUSED(b.library("/api/word/list/del", {{"sign", alicePhrase}}), "话术不存在");
        EXPECT_REFUSED(b.library("/api/word/class/upLabel", {{"sign", aliceClass}, {"newLabel", "x"}}),
                       "分类不存在");
        EXPECT_REFUSED(
            b.library("/api/word/class/swapPosition", {{"sign1", bobClass}, {"sign2", aliceClass}}),
            "分类不存在");
        EXPECT_REFUSED(addPhrase(b, aliceClass, "[]"), "所属分类不存在");
        EXPECT_REFUSED(b.library("/api/word/list/upValue", {{"sign", alicePhrase},
                                                            {"newParentSign", bobClass},
                                                            {"newLabel", "x"},
                                                            {"newJsonValue", "[]"}}),
                       "话术不存在");
        QCOMPARE(getAll(a, "class").dump(), classesBefore);
        QCOMPARE(getAll(a, "list").dump(), phrasesBefore);
        QVERIFY(getAll(b, "list").empty());
    }

    void picturesAreStoredOnlyUnderTheirDigest() {
        auto &a = *alice_;
        const std::string png = "\x89PNG\r\n\x1a\n picture bytes";
        const auto name = picName(png, "png");
        ServiceClient anon(url());
        EXPECT_REFUSED(anon.post("/api/word/image/imageNameExist", {{"fileName", name}}), "图片不存在");
        EXPECT_REFUSED(anon.upload("Alice", name, png), "登录已失效，请重新登录");
        EXPECT_REFUSED(bob_->upload("Alice", name, png), "无权访问");
        EXPECT_REFUSED(a.upload("Alice", name, png + "tampered"), "图片内容与名称不符");
        EXPECT_REFUSED(a.upload("Alice", name, ""), "图片内容为空");
        for (const auto &bad : {std::string("../x.png"), std::string("a\\b"), std::string(65, 'p')})
            EXPECT_REFUSED(a.upload("Alice", bad, png), "图片名称不合法");
        EXPECT_OK(a.upload("Alice", name, png));
        EXPECT_OK(a.upload("Alice", name, png)); // same bytes again: nothing to do

        // Anyone may ask; the download needs no cookie.
        EXPECT_OK(anon.post("/api/word/image/imageNameExist", {{"fileName", name}}));
        const auto got = anon.get("/api/resource/word/getImage64/" + Secrets::toBase64(name));
        EXPECT_OK(got);
        QCOMPARE(Secrets::fromBase64(got.json.value("base64", "")).value_or(""), png);

        // What the client calls a picture of unknown type (".jpg"), or any name that is not the
        // digest of a known type, is refused with a reason the user can act on: otherwise every
        // account would share one ".jpg".
        for (const auto &bad :
             std::vector<std::string>{".jpg", "logo.png", Secrets::md5Hex("webp") + ".webp"}) {
            EXPECT_REFUSED(bob_->upload("bob", bad, "webp"), "图片格式不支持，请使用 PNG/JPG/GIF/BMP");
            EXPECT_REFUSED(bob_->post("/api/word/image/imageNameExist", {{"fileName", bad}}),
                           "图片格式不支持，请使用 PNG/JPG/GIF/BMP");
        }
        const std::string download = "/api/resource/word/getImage64/";
        EXPECT_REFUSED(anon.get(download + Secrets::toBase64(picName("no", "png"))), "图片不存在");
        for (const auto &bad : {std::string("%25%25%25"), Secrets::toBase64("../etc/passwd"), std::string()})
            EXPECT_REFUSED(anon.get(download + bad), "图片名称不合法");
    }

    void eachAccountHasAStorageQuotaAndRequestsASizeLimit() {
        CloudService small({"--quota-mib", "1", "--max-picture-mib", "1"});
        QVERIFY(small.start());
        QVERIFY(small.addUser("kai", "kai-pw"));
        ServiceClient c(small.baseUrl().toStdString());
        EXPECT_OK(c.login("kai", "kai-pw"));
        const auto parent = getAll(c, "class")[0].value("sign", "");
        const auto text = content({{1, std::string(400 * 1024, 'q')}});
        QVERIFY(!createPhrase(c, parent, "1", text, 0).empty());
        QVERIFY(!createPhrase(c, parent, "2", text, 1).empty());
        const auto full = "云端存储空间已满（每个账号最多1MB），请删除部分话术或图片后再试";
        EXPECT_REFUSED(addPhrase(c, parent, text), full);
        const std::string picture(300 * 1024, 'p');
        EXPECT_REFUSED(c.upload("kai", picName(picture, "bmp"), picture), full);
        const std::string big(1024 * 1024 + 1, 'g');
        EXPECT_REFUSED(c.upload("kai", picName(big, "gif"), big), "图片过大（最多1MB）");
        // Deleting makes room again.
        EXPECT_OK(c.library("/api/word/list/del", {{"sign", getAll(c, "list")[0].value("sign", "")}}));
        EXPECT_OK(c.upload("kai", picName(picture, "bmp"), picture));

        const auto unknown = c.post("/api/no/such/endpoint", {});
        QCOMPARE(unknown.status, 404);
        EXPECT_REFUSED(unknown, "接口不存在");
        // Over the form limit, though under the upload limit (10 MiB here): cut off before any
        // handler runs.
        const auto before = getAll(*alice_, "class").size();
        const auto r = alice_->library("/api/word/class/create",
                                       {{"label", std::string(6 * 1024 * 1024, 'x')}, {"position", "1"}});
        QCOMPARE(r.status, 413);
        EXPECT_REFUSED(r, "请求内容过大");
        QCOMPARE(getAll(*alice_, "class").size(), before);
    }

    void singleSessionRevokesOnlyTheUsersOtherSessions() {
        CloudService single(
            {"--single-session", "--min-version", "3", "--download-url", "https://example.org/get"});
        QVERIFY(single.start());
        QVERIFY(single.addUser("erin", "erin-pw"));
        QVERIFY(single.addUser("finn", "finn-pw"));
        const auto base = single.baseUrl().toStdString();
        ServiceClient first(base), second(base), other(base);
        const auto version = first.post("/api/util/osx/getVersionForm", {{"version", "1"}});
        QCOMPARE(version.json.value("version", 0), 3);
        QCOMPARE(version.json.value("url", ""), std::string("https://example.org/get"));
        EXPECT_OK(first.login("erin", "erin-pw"));
        EXPECT_OK(other.login("finn", "finn-pw"));
        EXPECT_OK(second.login("erin", "erin-pw"));
        QCOMPARE(first.post("/api/user/SyncCheckOSX", {}).state(), -1);
        EXPECT_OK(second.post("/api/user/SyncCheckOSX", {}));
        EXPECT_OK(other.post("/api/user/SyncCheckOSX", {}));
    }

    void webPagesRegisterAndChangePasswords() {
        ServiceClient web(url());
        httplib::Client raw(url());
        const auto html = raw.Get("/");
        QVERIFY(html && html->body.find("mobile_register") != std::string::npos &&
                html->body.find("mobile_reset") != std::string::npos);

        EXPECT_REFUSED(web.postForm("/api/web/register", {{"username", "g"}, {"password", "gggggg"}}),
                       "用户名需为2到32个字符");
        EXPECT_REFUSED(web.postForm("/api/web/register", {{"username", "g h"}, {"password", "gggggg"}}),
                       "用户名不能包含空格或特殊符号");
        EXPECT_REFUSED(web.postForm("/api/web/register", {{"username", "gina"}, {"password", "short"}}),
                       "密码至少需要6个字符");
        EXPECT_REFUSED(web.postForm("/api/web/register", {{"username", "ALICE"}, {"password", "whatever1"}}),
                       "用户名已存在");
        EXPECT_OK(web.postForm("/api/web/register", {{"username", "Gina"}, {"password", "gina-pw1"}}));

        ServiceClient app(url());
        EXPECT_OK(app.login("gina", "gina-pw1"));
        QCOMPARE(getAll(app, "class").size(), std::size_t(1));
        EXPECT_REFUSED(
            web.postForm("/api/web/reset",
                         {{"username", "gina"}, {"oldPassword", "bad"}, {"newPassword", "gina-pw2"}}),
            "用户名或原密码错误");
        EXPECT_OK(
            web.postForm("/api/web/reset",
                         {{"username", "gina"}, {"oldPassword", "gina-pw1"}, {"newPassword", "gina-pw2"}}));
        // A new password ends the sessions signed in with the old one.
        QCOMPARE(app.post("/api/user/SyncCheckOSX", {}).state(), -1);
        EXPECT_REFUSED(ServiceClient(url()).login("gina", "gina-pw1"), "用户名或密码错误");
        EXPECT_OK(app.login("gina", "gina-pw2"));
    }

    void commandLineAccountsAndDemo() {
        QTemporaryDir dir;
        CloudService svc;
        QVERIFY(svc.start(dir.path()));
        QByteArray out;
        QCOMPARE(svc.run({"adduser", "hal"}, "", &out), 1); // an empty password is refused
        QCOMPARE(svc.run({"passwd", "nobody"}, "pw\n", &out), 1);
        QCOMPARE(svc.run({"adduser"}, "pw\n", &out), 2);
        QVERIFY(svc.addUser("hal", "hal-pw"));
        ServiceClient c(svc.baseUrl().toStdString());
        EXPECT_OK(c.login("hal", "hal-pw"));
        QCOMPARE(svc.run({"passwd", "HAL"}, "hal-new\r\n", &out), 0);
        QCOMPARE(c.post("/api/user/SyncCheckOSX", {}).state(), -1);
        EXPECT_OK(c.login("hal", "hal-new"));

        QCOMPARE(svc.run({"demo"}, "", &out), 0);
        const auto match =
            QRegularExpression("username: (\\S+)\\s+password: (\\S+)").match(QString::fromUtf8(out));
        QVERIFY2(match.hasMatch(), out.constData());
        ServiceClient demo(svc.baseUrl().toStdString());
        EXPECT_OK(demo.login(match.captured(1).toStdString(), match.captured(2).toStdString()));
        QVERIFY(getAll(demo, "class").size() >= 2);
        const auto phrases = getAll(demo, "list");
        QVERIFY(phrases.size() >= 3);
        std::string picture;
        for (const auto &p : phrases)
            if (!p.value("images", "").empty())
                picture = p.value("images", "");
        QVERIFY(!picture.empty() && picture.back() == '|');
        picture.pop_back();
        const auto got = demo.get("/api/resource/word/getImage64/" + Secrets::toBase64(picture));
        EXPECT_OK(got);
        QCOMPARE(Secrets::md5Hex(Secrets::fromBase64(got.json.value("base64", "")).value_or("")) + ".png",
                 picture);
        // Running it again keeps one demo library.
        QCOMPARE(svc.run({"demo"}, "", &out), 0);
        QCOMPARE(getAll(demo, "list").size(), phrases.size());
    }

    void restartLosesNothing() {
        QTemporaryDir dir;
        auto svc = std::make_unique<CloudService>();
        QVERIFY(svc->start(dir.path()));
        QVERIFY(svc->addUser("ivy", "ivy-pw"));
        ServiceClient c(svc->baseUrl().toStdString());
        EXPECT_OK(c.login("ivy", "ivy-pw"));
        const auto cls = createClass(c, "保留", 1);
        createPhrase(c, cls, "p", content({{1, "kept"}, {2, picName("kbytes", "png")}}), 0);
        EXPECT_OK(c.upload("ivy", picName("kbytes", "png"), "kbytes"));
        const auto classes = getAll(c, "class").dump();
        const auto phrases = getAll(c, "list").dump();
        svc->stop();
        // A clean stop leaves no write-ahead log behind.
        const QFileInfo wal(dir.filePath("quillora-cloud.sqlite3-wal"));
        QVERIFY(!wal.exists() || wal.size() == 0);

        CloudService again;
        QVERIFY(again.start(dir.path()));
        ServiceClient back(again.baseUrl().toStdString());
        back.cookie = c.cookie; // the session itself survives
        back.username = c.username;
        EXPECT_OK(back.post("/api/user/SyncCheckOSX", {}));
        QCOMPARE(getAll(back, "class").dump(), classes);
        QCOMPARE(getAll(back, "list").dump(), phrases);
        EXPECT_OK(back.post("/api/word/image/imageNameExist", {{"fileName", picName("kbytes", "png")}}));
    }

    void servesHttpsWithAGeneratedCertificate() {
        QTemporaryDir dir;
        const QString cert = dir.filePath("cert.pem"), key = dir.filePath("key.pem");
        QProcess openssl;
        openssl.start("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1", "-subj",
                                  "/CN=127.0.0.1", "-keyout", key, "-out", cert});
        QVERIFY(openssl.waitForFinished(60000));
        QCOMPARE(openssl.exitCode(), 0);

        // A missing key stops it before it listens.
        CloudService broken({"--tls-cert", cert, "--tls-key", dir.filePath("missing.pem")});
        QVERIFY(!broken.start());

        CloudService tls({"--tls-cert", cert, "--tls-key", key});
        QVERIFY(tls.start());
        QVERIFY(tls.baseUrl().startsWith("https://"));
        QVERIFY(tls.addUser("jay", "jay-pw"));
        ServiceClient c(tls.baseUrl().toStdString());
        const auto login = c.login("jay", "jay-pw");
        EXPECT_OK(login);
        QVERIFY(QString::fromStdString(login.setCookie).contains("Secure"));
        QCOMPARE(getAll(c, "class").size(), std::size_t(1));
        QVERIFY(getAll(c, "class")[0].value("label", "") == "默认分类");

        // Only forward-secret AEAD suites in TLS 1.2, chosen in the service's order; no older protocol.
        const auto handshake = [&](const QStringList &options) {
            QProcess client;
            client.start("openssl",
                         QStringList{"s_client", "-connect", "127.0.0.1:" + QString::number(tls.port())} +
                             options);
            client.closeWriteChannel();
            if (!client.waitForFinished(20000))
                client.kill();
            return QString::fromUtf8(client.readAllStandardOutput());
        };
        const auto chosen = handshake(
            {"-tls1_2", "-cipher", "ECDHE-RSA-CHACHA20-POLY1305:ECDHE-RSA-AES128-GCM-SHA256:AES128-SHA"});
        QVERIFY2(chosen.contains("Cipher is ECDHE-RSA-AES128-GCM-SHA256"), qPrintable(chosen));
        for (const auto &weak : {QStringList{"-tls1_2", "-cipher", "AES128-SHA:AES256-GCM-SHA384"},
                                 QStringList{"-tls1_2", "-cipher", "ECDHE-RSA-AES128-SHA"}})
            QVERIFY2(!handshake(weak).contains("Cipher is ECDHE") &&
                         !handshake(weak).contains("Cipher is AES"),
                     qPrintable(weak.join(' ')));
        QVERIFY(handshake({"-tls1_3"}).contains("TLSv1.3"));

        // Plain HTTP is not answered on that port.
        httplib::Client plain("http://127.0.0.1:" + std::to_string(tls.port()));
        plain.set_read_timeout(5);
        const auto r = plain.Post("/api/util/osx/getVersionForm", "", "application/x-www-form-urlencoded");
        QVERIFY(!r || r->status != 200);
    }

    void storageFailuresAnswerTheServiceErrorOnTheSameConnection() {
        // The endpoints treat both back-ends alike; each back-end's own failures are covered by
        // the storage test.
        if (CloudService::usesPostgres())
            QSKIP("breaks the SQLite file under a running service");
        CloudService service;
        QVERIFY(service.start());
        QVERIFY(service.addUser("dave", "dave-pw"));
        ServiceClient dave(service.baseUrl().toStdString());
        EXPECT_OK(dave.login("dave", "dave-pw"));
        const auto cls = createClass(dave, "c", 1);
        const auto phrase = createPhrase(dave, cls, "p", content({{1, "x"}}), 0);
        QVERIFY(!cls.empty() && !phrase.empty());
        const std::string png = "\x89PNG\r\n\x1a\n kept";
        const auto pic = picName(png, "png");
        EXPECT_OK(dave.upload("dave", pic, png));

        SQLite::Database db((service.dataDir() + "/quillora-cloud.sqlite3").toStdString(),
                            SQLite::OPEN_READWRITE);
        db.setBusyTimeout(10000);
        const auto rename = [&](std::initializer_list<const char *> tables, bool away) {
            for (const std::string t : tables)
                db.exec("ALTER TABLE " + (away ? t : t + "_gone") + " RENAME TO " + (away ? t + "_gone" : t));
        };
        const auto encoded = [](const std::string &text) {
            std::string out;
            for (const unsigned char c : text) {
                char hex[4];
                std::snprintf(hex, sizeof hex, "%%%02X", c);
                out += std::isalnum(c) ? std::string(1, char(c)) : std::string(hex);
            }
            return out;
        };
        // Every request goes over this one connection: a failure is answered, not hung up on.
        RawConnection conn(service.port());
        QVERIFY(conn.connected());
        const std::string cookie = "Cookie: " + dave.cookie + "\r\n";
        const auto answer = [&](const std::string &request) {
            if (!conn.send(request))
                return json();
            const auto in = conn.read();
            return in.status == 200 ? json::parse(in.body, nullptr, false) : json();
        };
        const auto post = [&](const std::string &path, const std::string &body) {
            return answer(RawConnection::formPost(path, body + "&dbname=dave", cookie));
        };
        const json internal = {{"state", 0}, {"msg", "服务器内部错误，请稍后再试"}};
        const auto jsonValue = encoded(content({{1, "y"}}));
        const std::vector<std::pair<std::string, std::string>> library = {
            {"/api/word/class/create", "label=n&position=2"},
            {"/api/word/class/del", "sign=" + cls},
            {"/api/word/class/upLabel", "sign=" + cls + "&newLabel=n"},
            {"/api/word/class/swapPosition", "sign1=" + cls + "&sign2=" + cls},
            {"/api/word/class/getAll", "x=1"},
            {"/api/word/list/create", "parentSign=" + cls + "&label=l&position=1&jsonValue=" + jsonValue},
            {"/api/word/list/del", "sign=" + phrase},
            {"/api/word/list/upValue",
             "sign=" + phrase + "&newParentSign=" + cls + "&newLabel=l&newJsonValue=" + jsonValue},
            {"/api/word/list/swapPostion", "sign1=" + phrase + "&sign2=" + phrase},
            {"/api/word/list/getAll", "x=1"},
            {"/api/word/image/imageNameExist", "fileName=" + pic},
        };

        rename({"word_class", "word_list", "pictures"}, true);
        for (const auto &[path, body] : library)
            QVERIFY2(post(path, body) == internal, path.c_str());
        QVERIFY(answer("GET /api/resource/word/getImage64/" + Secrets::toBase64(pic) +
                       " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n") == internal);
        EXPECT_REFUSED(dave.upload("dave", picName("other", "png"), "other"), "服务器内部错误，请稍后再试");
        rename({"word_class", "word_list", "pictures"}, false);

        rename({"sessions"}, true);
        for (const char *path : {"/api/ios/getIsTourist", "/api/user/getUserInfo", "/api/user/SyncCheckOSX",
                                 "/api/word/list/getAll"})
            QVERIFY2(post(path, "version=1") == internal, path);
        const auto login = "usernames=dave&username=123&password=" + ServiceClient::cipherPassword("dave-pw");
        QVERIFY(post("/api/osx/login", login) == internal);
        rename({"sessions"}, false);

        rename({"users"}, true);
        QVERIFY(post("/api/osx/login", login) == internal);
        QVERIFY(post("/api/web/register", "username=erin&password=erin-password") == internal);
        QVERIFY(post("/api/web/reset", "username=dave&oldPassword=dave-pw&newPassword=dave-pw2") == internal);
        rename({"users"}, false);

        // Back to normal on the same connection, with nothing lost or half written.
        const auto phrases = post("/api/word/list/getAll", "x=1");
        QVERIFY(phrases.value("state", 0) == 1);
        QCOMPARE(field(phrases["data"], "sign"), std::vector<std::string>{phrase});
        QCOMPARE(field(getAll(dave, "class"), "label").size(), std::size_t(2));
        QVERIFY(post("/api/osx/login", login).value("state", 0) == 1);
        EXPECT_REFUSED(dave.upload("dave", pic, png + "x"), "图片内容与名称不符");
    }

    void cleanupTestCase() { service_.stop(); }
};

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    TestServerApi test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_server_api.moc"
