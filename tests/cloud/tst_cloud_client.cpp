// The cloud client against a scripted responder: the replies a correct service never sends, the
// transport's cookie and form rules, and the pure pieces (cipher, picture names, version gate).
#include "cloud/accountapi.h"
#include "cloud/classapi.h"
#include "cloud/httptransport.h"
#include "cloud/imageutil.h"
#include "cloud/librarysync.h"
#include "cloud/phraseapi.h"
#include "cloud/pictureapi.h"
#include "cloud/rc4cipher.h"
#include "cloud/serviceapi.h"
#include "cloud/sessionheartbeat.h"
#include "cloud/versiongate.h"
#include "library/classoperations.h"
#include "library/phraseoperations.h"
#include "model/app.h"
#include "model/appsettings.h"
#include "store/appfileutil.h"
#include "store/classstore.h"
#include "store/conversions.h"
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"

#include "scriptedresponder.h"
#include "testenv.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>
#include <QTimer>
#include <iostream>
#include <optional>

namespace {

QByteArray hexBytes(const char *hex) {
    return QByteArray::fromHex(hex);
}

std::vector<quint8> bytes(const QByteArray &b) {
    return std::vector<quint8>(b.cbegin(), b.cend());
}

// A port nobody listens on: bind one, note it, close it.
QString deadUrl() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return QStringLiteral("http://127.0.0.1:%1").arg(port);
}

} // namespace

class tst_cloud_client : public QObject {
    Q_OBJECT

    ScriptedResponder responder;

    void pointAt(const QString &url) { qputenv("QUILLORA_SERVICE_URL", url.toUtf8()); }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(responder.listen());
        LocalPath::initDirs();
    }

    void init() {
        responder.clear();
        pointAt(responder.baseUrl());
        App::setting().setCookie(QString());
        App::userInfo().username = QStringLiteral("123");
        HttpTransport::setTransferTimeout(60000);
    }

    void rc4MatchesKnownVectors_data() {
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QByteArray>("plain");
        QTest::addColumn<QByteArray>("cipher");
        QTest::newRow("Key") << QByteArray("Key") << QByteArray("Plaintext")
                             << hexBytes("BBF316E8D940AF0AD3");
        QTest::newRow("Wiki") << QByteArray("Wiki") << QByteArray("pedia") << hexBytes("1021BF0420");
        QTest::newRow("Secret") << QByteArray("Secret") << QByteArray("Attack at dawn")
                                << hexBytes("45A01F645FC35B383552544B9BF5");
        // Key stream of a 40-bit key: zero bytes come back as the stream itself.
        QTest::newRow("stream") << hexBytes("0102030405") << QByteArray(16, '\0')
                                << hexBytes("b2396305f03dc027ccc3524a0a1118a8");
    }
    void rc4MatchesKnownVectors() {
        QFETCH(QByteArray, key);
        QFETCH(QByteArray, plain);
        QFETCH(QByteArray, cipher);
        QCOMPARE(Rc4Cipher::encrypt(bytes(plain), bytes(key)), bytes(cipher));
        // Enciphering twice with a fresh state restores the text.
        QCOMPARE(Rc4Cipher::encrypt(Rc4Cipher::encrypt(bytes(plain), bytes(key)), bytes(key)), bytes(plain));
    }

    void passwordTravelsEncipheredAndEncoded() {
        QCOMPARE(AccountApi::encipherPassword(QStringLiteral("secret")), QStringLiteral("Wcj1EPHL"));
        QCOMPARE(AccountApi::encipherPassword(QStringLiteral("密码pass+/=")),
                 QStringLiteral("zwIQhTQ+YWPIv+N2Sw=="));
        QCOMPARE(AccountApi::encipherPassword(QString()), QString());
    }

    void pictureNamesComeFromBytes() {
        const QByteArray png = QByteArray("\x89PNG\r\n", 6);
        QCOMPARE(ImageUtil::typeOf(png), ImageUtil::ImageType::Png);
        QCOMPARE(ImageUtil::fileNameOf(png), QStringLiteral("8eece9cc616084e69299f7f1a53a6404.png"));
        QCOMPARE(ImageUtil::fileNameOf(png), ImageUtil::fileNameOf(QByteArray(png)));

        const QByteArray jpg("\xFF\xD8\xFFrest");
        QVERIFY(ImageUtil::fileNameOf(jpg).endsWith(QLatin1String(".jpg")));
        QCOMPARE(ImageUtil::fileNameOf(jpg).size(), 36);
        QCOMPARE(ImageUtil::extensionOf("GIF89a"), QStringLiteral(".gif"));
        QCOMPARE(ImageUtil::extensionOf("BM...."), QStringLiteral(".bmp"));

        // WebP, TIFF (both byte orders) and nothing at all share the bare name ".jpg".
        QCOMPARE(ImageUtil::typeOf("RIFF\0\0\0\0WEBPVP8 "), ImageUtil::ImageType::None);
        QCOMPARE(ImageUtil::typeOf("II*\0"), ImageUtil::ImageType::Tiff);
        QCOMPARE(ImageUtil::typeOf("MM\0*"), ImageUtil::ImageType::Tiff);
        QCOMPARE(ImageUtil::typeOf(QByteArray()), ImageUtil::ImageType::None);
        for (const QByteArray &data : {QByteArray("RIFF1234WEBP"), QByteArray("II*\0", 4), QByteArray()})
            QCOMPARE(ImageUtil::fileNameOf(data), QStringLiteral(".jpg"));
    }

    void settingsKeepTheirKeysAndTexts() {
        AppSettings::setBool(QStringLiteral("pwd_check"), true);
        QCOMPARE(AppSettings::getString(QStringLiteral("pwd_check")), QStringLiteral("true"));
        QVERIFY(AppSettings::getBool(QStringLiteral("pwd_check")));
        AppSettings::setBool(QStringLiteral("pwd_check"), false);
        QCOMPARE(AppSettings::getString(QStringLiteral("pwd_check")), QStringLiteral("false"));
        QVERIFY(!AppSettings::getBool(QStringLiteral("pwd_check"), true));

        QVERIFY(!AppSettings::getBool(QStringLiteral("never_set")));
        QVERIFY(AppSettings::getBool(QStringLiteral("never_set"), true));

        AppSettings writer;
        writer.setUsername(QStringLiteral("alice"));
        writer.setPassword(QStringLiteral("pw"));
        writer.setCookie(QStringLiteral("sid=1;"));
        AppSettings reader;
        QCOMPARE(reader.username, QStringLiteral("alice"));
        QCOMPARE(reader.password, QStringLiteral("pw"));
        // The cookie is written to "m_cookie" but read from "cookies": it does not come back.
        QCOMPARE(AppSettings::getString(QStringLiteral("m_cookie")), QStringLiteral("sid=1;"));
        QCOMPARE(reader.cookie, QString());
        AppSettings::setString(QStringLiteral("cookies"), QStringLiteral("old=1;"));
        QCOMPARE(AppSettings().cookie, QStringLiteral("old=1;"));
        AppSettings::setString(QStringLiteral("cookies"), QString());
    }

    void serviceAddressPrefersEnvironmentThenSetting() {
        qunsetenv("QUILLORA_SERVICE_URL");
        QCOMPARE(AppSettings::serviceUrl(), QStringLiteral(QUILLORA_DEFAULT_SERVICE_URL));
        AppSettings::setString(QStringLiteral("serviceUrl"), QStringLiteral("https://cloud.example.org/"));
        QCOMPARE(ServiceApi::appendUrl(QStringLiteral("/api/x")),
                 QStringLiteral("https://cloud.example.org/api/x"));
        QCOMPARE(ServiceApi::registerUrl(), QStringLiteral("https://cloud.example.org/#/mobile_register"));
        QCOMPARE(ServiceApi::resetUrl(), QStringLiteral("https://cloud.example.org/#/mobile_reset"));
        QVERIFY(VersionGate::updateMessage().endsWith(QStringLiteral(" 网址 https://cloud.example.org")));
        pointAt(QStringLiteral("http://10.1.2.3:9"));
        QCOMPARE(ServiceApi::appendUrl(QStringLiteral("/a")), QStringLiteral("http://10.1.2.3:9/a"));
        AppSettings::setString(QStringLiteral("serviceUrl"), QString());
    }

    void cookiesMergeByTheirOwnRules() {
        AppSettings s;
        s.setCookie(QString());
        s.saveCookie(QStringLiteral("sid=abc; Path=/; HttpOnly"));
        // Attributes are kept as cookies, blank included; the flag without "=" is dropped.
        QCOMPARE(s.cookie, QStringLiteral(" Path=/;sid=abc;"));
        QCOMPARE(AppSettings::getString(QStringLiteral("m_cookie")), s.cookie);

        // A later value wins; "a=b=c" keeps a=b; "e=" and "=x" have no pair and are skipped.
        s.saveCookie(QStringLiteral("sid=new;a=b=c;e=;=x"));
        QCOMPARE(s.cookie, QStringLiteral(" Path=/;a=b;sid=new;"));

        const QString before = s.cookie;
        s.saveCookie(QString());
        QCOMPARE(s.cookie, before);
    }

    void formCarriesUserAndSurvivesReservedCharacters() {
        responder.on("/echo", ScriptedResponder::json(R"({"state":1})"));
        App::userInfo().username = QStringLiteral("signed-in");
        std::optional<JsonReply> got;
        const QString awkward = QStringLiteral("a+b/c=d&e f%20g=");
        HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/echo")),
                                  {{QStringLiteral("username"), QStringLiteral("someone-else")},
                                   {QStringLiteral("password"), awkward},
                                   {QStringLiteral("名"), QStringLiteral("值")}},
                                  [&](const JsonReply &r) { got = r; });
        QTRY_VERIFY_WITH_TIMEOUT(got.has_value(), 20000);
        QVERIFY(got->isSuccess());
        const ScriptedResponder::Request req = responder.requestsTo("/echo").value(0);
        QCOMPARE(req.method, QByteArray("POST"));
        QVERIFY(req.header("Content-Type").startsWith("application/x-www-form-urlencoded"));
        const QMap<QString, QString> form = req.form();
        QCOMPARE(form.value(QStringLiteral("password")), awkward);
        QCOMPARE(form.value(QStringLiteral("username")), QStringLiteral("signed-in"));
        QCOMPARE(form.value(QStringLiteral("名")), QStringLiteral("值"));
        // An empty cookie sends no header at all.
        QVERIFY(!req.hasHeader("Cookie"));
    }

    void setCookieIsMergedAndSentBack() {
        responder.on("/login", ScriptedResponder::json(R"({"state":1})",
                                                       {{"Set-Cookie", "sid=abc; Path=/; HttpOnly"}}));
        responder.on("/plain", ScriptedResponder::json(R"({"state":1})"));
        int replies = 0;
        HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/login")), {},
                                  [&](const JsonReply &) { ++replies; });
        QTRY_COMPARE_WITH_TIMEOUT(replies, 1, 20000);
        QCOMPARE(App::setting().cookie, QStringLiteral(" Path=/;sid=abc;"));

        // No Set-Cookie: the cookie stays, and goes out exactly as stored; Qt's own jar adds nothing.
        HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/plain")), {},
                                  [&](const JsonReply &) { ++replies; });
        QTRY_COMPARE_WITH_TIMEOUT(replies, 2, 20000);
        QCOMPARE(App::setting().cookie, QStringLiteral(" Path=/;sid=abc;"));
        // (A leading blank of a header value is not part of it in HTTP.)
        QCOMPARE(responder.requestsTo("/plain").value(0).header("Cookie"), QByteArray("Path=/;sid=abc;"));

        // Once our cookie is emptied nothing is sent, even though the service had set one.
        App::setting().setCookie(QString());
        HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/plain")), {},
                                  [&](const JsonReply &) { ++replies; });
        QTRY_COMPARE_WITH_TIMEOUT(replies, 3, 20000);
        QVERIFY(!responder.requestsTo("/plain").value(1).hasHeader("Cookie"));
    }

    void bodiesThatAreNotJsonFailWhateverTheStatus() {
        responder.on("/html",
                     ScriptedResponder::Reply{200, "<html>oops</html>", {{"Set-Cookie", "bad=1"}}, false});
        responder.on("/err", ScriptedResponder::Reply{500, R"({"state":0,"msg":"boom"})", {}, false});
        responder.on("/scalar", ScriptedResponder::json("42"));
        std::optional<JsonReply> html, err, scalar;
        HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/html")), {},
                                  [&](const JsonReply &r) { html = r; });
        HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/err")), {},
                                  [&](const JsonReply &r) { err = r; });
        HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/scalar")), {},
                                  [&](const JsonReply &r) { scalar = r; });
        QTRY_VERIFY_WITH_TIMEOUT(html && err && scalar, 20000);
        QVERIFY(!html->isSuccess());
        QCOMPARE(html->text(), QStringLiteral("网络连接失败:"));
        QVERIFY(!App::setting().cookie.contains(QLatin1String("bad")));
        // Any status counts as an answer; a JSON fragment is still JSON.
        QVERIFY(err->isSuccess());
        QCOMPARE(err->json()[QLatin1String("msg")].toString(), QStringLiteral("boom"));
        QVERIFY(scalar->isSuccess());
        QCOMPARE(scalar->json().toInt(), 42);

        // The text request hands over whatever came.
        std::optional<TextReply> text;
        HttpTransport::postString(ServiceApi::appendUrl(QStringLiteral("/html")), {},
                                  [&](const TextReply &r) { text = r; });
        QTRY_VERIFY_WITH_TIMEOUT(text.has_value(), 20000);
        QVERIFY(text->isSuccess());
        QCOMPARE(text->text(), QStringLiteral("<html>oops</html>"));
    }

    void unreachableAndSilentServicesEndInFailure() {
        std::optional<JsonReply> refused;
        std::optional<CallResult> info;
        pointAt(deadUrl());
        HttpTransport::postJsonRe(ServiceApi::appendUrl(QStringLiteral("/x")), {},
                                  [&](const JsonReply &r) { refused = r; });
        AccountApi::getUserInfo([&](const CallResult &r) { info = r; });
        QTRY_VERIFY_WITH_TIMEOUT(refused && info, 20000);
        QCOMPARE(refused->text(), QStringLiteral("网络连接失败:"));
        QCOMPARE(info->msg(), QStringLiteral("-2"));

        pointAt(responder.baseUrl());
        responder.on("/silent", ScriptedResponder::Reply{200, {}, {}, true});
        HttpTransport::setTransferTimeout(1500);
        std::optional<TextReply> silent;
        HttpTransport::postString(ServiceApi::appendUrl(QStringLiteral("/silent")), {},
                                  [&](const TextReply &r) { silent = r; });
        QTRY_VERIFY_WITH_TIMEOUT(silent.has_value(), 30000);
        QVERIFY(!silent->isSuccess());
        QCOMPARE(silent->text(), QStringLiteral("网络连接失败:"));
    }

    void repliesWithoutStateAreFailures() {
        responder.on("/api/word/class/create", ScriptedResponder::json(R"({"sign":"s1","msg":"no state"})"));
        responder.on("/api/osx/login", ScriptedResponder::json(R"({"username":"x"})"));
        responder.on("/api/word/list/upValue", ScriptedResponder::json(R"({"state":1})"));
        // Signing in empties only the stored cookie; the shared one still goes out with the request.
        App::setting().setCookie(QStringLiteral("old=1;"));
        std::optional<CreateResult> created;
        std::optional<LoginResult> login;
        std::optional<CallResult> updated;
        ClassApi::create(QStringLiteral("l"), QStringLiteral("0"), QStringLiteral("db"),
                         [&](const CreateResult &r) { created = r; });
        AccountApi::login(QStringLiteral("u"), QStringLiteral("p"), [&](const LoginResult &r) { login = r; });
        PhraseApi::updateClass(QStringLiteral("p"), QStringLiteral("s"), QStringLiteral("l"),
                               QStringLiteral("[]"), QStringLiteral("db"),
                               [&](const CallResult &r) { updated = r; });
        QTRY_VERIFY_WITH_TIMEOUT(created && login && updated, 20000);
        QVERIFY(!created->isSuccess());
        QCOMPARE(created->msg(), QStringLiteral("no state"));
        QVERIFY(!login->isOk());
        QVERIFY(updated->isOk());
        const QMap<QString, QString> form = responder.requestsTo("/api/word/list/upValue").value(0).form();
        QCOMPARE(form.value(QStringLiteral("newParentSign")), QStringLiteral("p"));
        QCOMPARE(form.value(QStringLiteral("newJsonValue")), QStringLiteral("[]"));
        QCOMPARE(form.value(QStringLiteral("dbname")), QStringLiteral("db"));
        // The login form: the plural key, the enciphered password, and the former user's name.
        const QMap<QString, QString> lf = responder.requestsTo("/api/osx/login").value(0).form();
        QCOMPARE(lf.value(QStringLiteral("usernames")), QStringLiteral("u"));
        QCOMPARE(lf.value(QStringLiteral("password")), AccountApi::encipherPassword(QStringLiteral("p")));
        QCOMPARE(lf.value(QStringLiteral("username")), QStringLiteral("123"));
        QCOMPARE(responder.requestsTo("/api/osx/login").value(0).header("Cookie"), QByteArray("old=1;"));
    }

    void touristIsReportedTwice() {
        QList<bool> calls;
        responder.on("/api/ios/getIsTourist", ScriptedResponder::json(R"({"state":1,"re":1})"));
        ServiceApi::isTourist([&](bool t) { calls.append(t); });
        QTRY_COMPARE_WITH_TIMEOUT(calls.size(), 2, 20000);
        QCOMPARE(calls, (QList<bool>{true, false}));

        calls.clear();
        responder.on("/api/ios/getIsTourist", ScriptedResponder::json(R"({"state":1,"re":0})"));
        ServiceApi::isTourist([&](bool t) { calls.append(t); });
        QTRY_COMPARE_WITH_TIMEOUT(calls.size(), 1, 20000);
        QTest::qWait(300);
        QCOMPARE(calls, QList<bool>{false});
        QCOMPARE(
            responder.requestsTo("/api/ios/getIsTourist").value(0).form().value(QStringLiteral("version")),
            QStringLiteral("1"));
    }

    void versionGateJudgesTheReply() {
        const auto judge = [](const char *json) {
            return VersionGate::judge(QJsonDocument::fromJson(json).object()).kind();
        };
        QCOMPARE(VersionGate::judge(std::nullopt).kind(), VersionGate::Kind::NetworkFailure);
        QCOMPARE(judge(R"({"version":0})"), VersionGate::Kind::NetworkFailure);
        QCOMPARE(judge(R"({"state":1})"), VersionGate::Kind::NetworkFailure);
        QCOMPARE(judge(R"({"version":1})"), VersionGate::Kind::Ready);
        const VersionGate update = VersionGate::judge(
            QJsonDocument::fromJson("{\"version\":2,\"url\":\"https://dl.example.org/q\"}").object());
        QCOMPARE(update.kind(), VersionGate::Kind::UpdateRequired);
        QCOMPARE(update.url(), QUrl(QStringLiteral("https://dl.example.org/q")));

        // End to end: the reply reaches the gate as it came.
        responder.on("/api/util/osx/getVersionForm", ScriptedResponder::json(R"({"version":1})"));
        std::optional<std::optional<QJsonValue>> reply;
        ServiceApi::getVersionCheck([&](const std::optional<QJsonValue> &r) { reply = r; });
        QTRY_VERIFY_WITH_TIMEOUT(reply.has_value(), 20000);
        QCOMPARE(VersionGate::judge(*reply).kind(), VersionGate::Kind::Ready);
    }

    void phraseFetchIgnoresTextThatIsNotAnObject() {
        responder.on("/api/word/list/getAll", ScriptedResponder::json("[1,2,3]"));
        int calls = 0;
        PhraseApi::getAll1(QStringLiteral("db"), [&](const PhraseListResult &) { ++calls; });
        QTRY_COMPARE_WITH_TIMEOUT(responder.requestsTo("/api/word/list/getAll").size(), 1, 20000);
        QTest::qWait(1000);
        QCOMPARE(calls, 0);

        responder.on("/api/word/list/getAll", ScriptedResponder::json(R"({"state":1,"data":[]})"));
        std::optional<PhraseListResult> empty;
        PhraseApi::getAll1(QStringLiteral("db"), [&](const PhraseListResult &r) { empty = r; });
        QTRY_VERIFY_WITH_TIMEOUT(empty.has_value(), 20000);
        QVERIFY(empty->isSuccess());
        QVERIFY(empty->data().isEmpty());
    }

    void classFetchReadsEveryField() {
        responder.on(
            "/api/word/class/getAll",
            ScriptedResponder::json(R"({"state":1,"data":[{"id":7,"sign":"S","label":"L","position":2,)"
                                    R"("username":"u"},{"sign":"T"}]})"));
        std::optional<ClassListResult> got;
        ClassApi::getAll(QStringLiteral("db"), [&](const ClassListResult &r) { got = r; });
        QTRY_VERIFY_WITH_TIMEOUT(got.has_value(), 20000);
        QVERIFY(got->isSuccess());
        QCOMPARE(got->data().size(), 2);
        QCOMPARE(got->data().at(0),
                 PhraseClass(7, QStringLiteral("S"), QStringLiteral("L"), 2, QStringLiteral("u")));
        QCOMPARE(got->data().at(1), PhraseClass(0, QStringLiteral("T")));
    }

    void emptyClassListEndsTheProgram() {
        ScriptedResponder child;
        QVERIFY(child.listen());
        child.on("/api/word/class/getAll", ScriptedResponder::json(R"({"state":1,"data":[]})"));
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QUILLORA_SERVICE_URL"), child.baseUrl());
        p.setProcessEnvironment(env);
        p.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--child"), QStringLiteral("class-list")});
        QVERIFY(p.waitForStarted(20000));
        QTRY_COMPARE_WITH_TIMEOUT(p.state(), QProcess::NotRunning, 60000);
        QCOMPARE(p.exitStatus(), QProcess::NormalExit);
        QCOMPARE(p.exitCode(), 1);
        QVERIFY(!p.readAllStandardError().trimmed().isEmpty());
        QVERIFY(!p.readAllStandardOutput().contains("handler called"));
    }

    void revokedHeartbeatEndsTheProcess() {
        ScriptedResponder child;
        QVERIFY(child.listen());
        child.on("/api/user/SyncCheckOSX", ScriptedResponder::json(R"({"state":-1})"));
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QUILLORA_SERVICE_URL"), child.baseUrl());
        p.setProcessEnvironment(env);
        p.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--child"), QStringLiteral("heartbeat")});
        QVERIFY(p.waitForStarted(20000));
        QTRY_COMPARE_WITH_TIMEOUT(p.state(), QProcess::NotRunning, 60000);
        QCOMPARE(p.exitStatus(), QProcess::NormalExit);
        QCOMPARE(p.exitCode(), 1);
        QCOMPARE(child.requestsTo("/api/user/SyncCheckOSX").size(), 1);
    }

    void heartbeatChecksOnceAtStartAndOnlyLogsOtherStates() {
        responder.on("/api/user/SyncCheckOSX", ScriptedResponder::json(R"({"msg":"no state"})"));
        SessionHeartbeat::start();
        SessionHeartbeat::start();
        QTRY_COMPARE_WITH_TIMEOUT(responder.requestsTo("/api/user/SyncCheckOSX").size(), 1, 20000);
        QTest::qWait(500);
        QCOMPARE(responder.requestsTo("/api/user/SyncCheckOSX").size(), 1);
        QCOMPARE(
            responder.requestsTo("/api/user/SyncCheckOSX").value(0).form().value(QStringLiteral("version")),
            QStringLiteral("1"));
        for (const char *json : {R"({"state":0})", R"({"state":1})", R"({"state":-2})"})
            SessionHeartbeat::handleReply(QJsonDocument::fromJson(json).object());
        SessionHeartbeat::handleReply(std::nullopt);
    }

    void picturesTravelByNameAndWithoutCookie() {
        App::setting().setCookie(QStringLiteral("sid=1;"));
        App::userInfo().username = QStringLiteral("pic-user");
        const QString name = QStringLiteral("ab.png");
        const QByteArray path = "/api/resource/word/getImage64/" + name.toUtf8().toBase64();
        responder.on(path, ScriptedResponder::json(R"({"state":1,"base64":"AAEC"})"));
        responder.on("/api/word/image/imageNameExist", ScriptedResponder::json(R"({"state":0})"));
        std::optional<PictureDownloadResult> down, missing;
        std::optional<bool> known;
        PictureApi::downloadPicture(name, [&](const PictureDownloadResult &r) { down = r; });
        PictureApi::downloadPicture(QStringLiteral("other.png"),
                                    [&](const PictureDownloadResult &r) { missing = r; });
        PictureApi::exist(name, [&](bool k) { known = k; });
        QTRY_VERIFY_WITH_TIMEOUT(down && missing && known, 20000);
        QVERIFY(down->isSuccess());
        QCOMPARE(down->imageBase64data(), QStringLiteral("AAEC"));
        QVERIFY(!missing->isSuccess());
        QCOMPARE(missing->errMsg(), QString());
        QCOMPARE(*known, false);
        const ScriptedResponder::Request get = responder.requestsTo(path).value(0);
        QCOMPARE(get.method, QByteArray("GET"));
        QVERIFY(!get.hasHeader("Cookie"));
        const QMap<QString, QString> form =
            responder.requestsTo("/api/word/image/imageNameExist").value(0).form();
        QCOMPARE(form.value(QStringLiteral("fileName")), name);
        QCOMPARE(form.value(QStringLiteral("username")), QStringLiteral("pic-user"));
        QCOMPARE(form.value(QStringLiteral("dbname")), QStringLiteral("pic-user"));
    }

    void uploadSendsThreePartsAndReportsTheServiceMessage() {
        App::userInfo().username = QStringLiteral("up-user");
        App::setting().setCookie(QStringLiteral("sid=1;"));
        // A GIF on disk still travels as "image/png".
        const QByteArray gif("GIF89a-not-really-a-picture");
        const QString name = ImageUtil::fileNameOf(gif);
        QVERIFY(AppFileUtil::saveImage(gif, name));
        responder.on("/api/word/image/uploadImage",
                     ScriptedResponder::json(R"({"state":0,"msg":"图片过大"})", {{"Set-Cookie", "up=2"}}));
        std::optional<OperationResult> refused;
        QList<int> progress;
        PictureApi::upload(
            name, [&](const OperationResult &r) { refused = r; }, [&](int p) { progress.append(p); });
        QTRY_VERIFY_WITH_TIMEOUT(refused.has_value(), 20000);
        QVERIFY(refused->isError());
        QCOMPARE(refused->msg(), QStringLiteral("图片过大"));
        QCOMPARE(App::setting().cookie, QStringLiteral("sid=1;up=2;"));
        QVERIFY(!progress.isEmpty());
        QCOMPARE(progress.last(), 100);

        const ScriptedResponder::Request req = responder.requestsTo("/api/word/image/uploadImage").value(0);
        QCOMPARE(req.header("Cookie"), QByteArray("sid=1;"));
        QVERIFY(req.header("Content-Type").startsWith("multipart/form-data"));
        const QByteArray body = req.body;
        const qsizetype db = body.indexOf("name=\"dbname\"");
        const qsizetype fn = body.indexOf("name=\"filename\"");
        const qsizetype file = body.indexOf("name=\"file\"; filename=\"" + name.toUtf8() + "\"");
        QVERIFY(db >= 0 && fn > db && file > fn);
        QVERIFY(body.indexOf("up-user", db) < fn);
        QVERIFY(body.indexOf(name.toUtf8(), fn) < file);
        // The file part's own headers, between the boundary before it and its blank line.
        const qsizetype partStart = body.lastIndexOf("\r\n--", file);
        const QByteArray partHeaders = body.mid(partStart, body.indexOf("\r\n\r\n", file) - partStart);
        QVERIFY(partHeaders.contains("Content-Type: image/png"));
        QVERIFY(body.indexOf(gif, file) > file);

        // No answer at all: the transport's text after the fixed prefix, the cookie untouched.
        pointAt(deadUrl());
        std::optional<OperationResult> failed;
        PictureApi::upload(name, [&](const OperationResult &r) { failed = r; }, {});
        QTRY_VERIFY_WITH_TIMEOUT(failed.has_value(), 20000);
        QVERIFY(failed->msg().startsWith(QStringLiteral("上传失败:")));
        QVERIFY(failed->msg().size() > QStringLiteral("上传失败:").size());
        QCOMPARE(App::setting().cookie, QStringLiteral("sid=1;up=2;"));
    }

    void synchronisationSkipsNamesThatAreNotPlainFiles() {
        App::userInfo().username = QStringLiteral("sync-user");
        responder.on(
            "/api/word/class/getAll",
            ScriptedResponder::json(R"({"state":1,"data":[{"id":1,"sign":"C1","label":"c","position":0,)"
                                    R"("username":"sync-user"}]})"));
        const QByteArray jsonValue =
            QJsonDocument(QJsonArray{QJsonObject{{"type", 2}, {"value", "../evil.png"}},
                                     QJsonObject{{"type", 2}, {"value", "good.png"}}})
                .toJson(QJsonDocument::Compact);
        QJsonObject phrase{{"parentSign", "C1"}, {"sign", "P1"},
                           {"label", "p"},       {"jsonValue", QString::fromUtf8(jsonValue)},
                           {"position", 0},      {"username", "sync-user"}};
        responder.on(
            "/api/word/list/getAll",
            ScriptedResponder::json(QJsonDocument(QJsonObject{{"state", 1}, {"data", QJsonArray{phrase}}})
                                        .toJson(QJsonDocument::Compact)));
        responder.on("/api/resource/word/getImage64/" + QByteArray("good.png").toBase64(),
                     ScriptedResponder::json(R"({"state":1,"base64":"iVBORw=="})"));
        LocalStore db;
        QVERIFY(db.open());
        PhraseStore phrases(db);
        ClassStore classes(db);
        LibrarySync sync(classes, phrases, QStringLiteral("sync-user"));
        bool done = false;
        sync.syncAll([&]() { done = true; });
        QTRY_VERIFY_WITH_TIMEOUT(done, 30000);
        QCOMPARE(AppFileUtil::readImage(QStringLiteral("good.png")).value_or(QByteArray()),
                 QByteArray::fromBase64("iVBORw=="));
        QVERIFY(!QFile::exists(LocalPath::home() + QStringLiteral("/appData/evil.png")));
        int pictureRequests = 0;
        for (const auto &r : responder.requests())
            pictureRequests += r.path.startsWith("/api/resource/word/getImage64/");
        QCOMPARE(pictureRequests, 1);
        QCOMPARE(phrases.getData(QStringLiteral("P1")).value_or(Phrase()).parentSign, QStringLiteral("C1"));
    }

    void synchronisationWithoutNetworkKeepsTheLibraryAndEnds() {
        App::userInfo().username = QStringLiteral("offline-user");
        LocalStore db;
        QVERIFY(db.open());
        PhraseStore phrases(db);
        ClassStore classes(db);
        QVERIFY(
            classes.create(QStringLiteral("K"), QStringLiteral("kept"), 0, QStringLiteral("offline-user")));
        QVERIFY(phrases.create(QStringLiteral("K"), QStringLiteral("W"), QStringLiteral("w"),
                               QStringLiteral("[]"), 0, QStringLiteral("offline-user")));
        pointAt(deadUrl());
        LibrarySync sync(classes, phrases, QStringLiteral("offline-user"));
        QSignalSpy started(&sync, &LibrarySync::syncStarted);
        QSignalSpy finished(&sync, &LibrarySync::syncFinished);
        bool first = false, second = false;
        sync.syncAll([&]() { first = true; });
        QVERIFY(sync.isRunning());
        // A second request while one runs only gets its own action, at once.
        sync.syncAll([&]() { second = true; });
        QVERIFY(second);
        QVERIFY(!first);
        QTRY_VERIFY_WITH_TIMEOUT(first, 30000);
        QVERIFY(!sync.isRunning());
        QCOMPARE(started.count(), 1);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(classes.getAll(QStringLiteral("offline-user")).size(), 1);
        QVERIFY(phrases.getData(QStringLiteral("W")).has_value());
    }
};

namespace {

int runChild(const QString &scenario) {
    QTimer::singleShot(45000, []() { std::_Exit(3); });
    if (scenario == QLatin1String("class-list")) {
        ClassApi::getAll(QStringLiteral("db"), [](const ClassListResult &) {
            std::cout << "handler called" << std::endl;
            std::_Exit(0);
        });
    } else if (scenario == QLatin1String("heartbeat")) {
        SessionHeartbeat::start();
    } else {
        return 2;
    }
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    if (argc >= 3 && QLatin1String(argv[1]) == QLatin1String("--child"))
        return runChild(QString::fromLocal8Bit(argv[2]));
    tst_cloud_client test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cloud_client.moc"
