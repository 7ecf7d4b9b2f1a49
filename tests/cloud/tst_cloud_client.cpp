// The cloud client against a scripted responder: the replies a correct service never sends, the
// transport's cookie and form rules, and the pure pieces (cipher, picture names, version gate).
#include "cloud/cloudclient.h"
#include "cloud/imageutil.h"
#include "cloud/librarysync.h"
#include "cloud/rc4cipher.h"
#include "cloud/sessionheartbeat.h"
#include "cloud/versiongate.h"
#include "model/settings.h"
#include "store/appfileutil.h"
#include "store/classstore.h"
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
    Settings settings_;
    CloudClient client_{settings_};

    // A JSON request through the client's own path, for what every call shares.
    template <typename T, typename Call> std::optional<Result<T>> await(Call call) {
        std::optional<Result<T>> got;
        call([&](const Result<T> &r) { got = r; });
        if (!QTest::qWaitFor([&] { return got.has_value(); }, 30000))
            return std::nullopt;
        return got;
    }

    void pointAt(const QString &url) { qputenv("QUILLORA_SERVICE_URL", url.toUtf8()); }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(responder.listen());
        LocalPath::initDirs();
    }

    void init() {
        responder.clear();
        pointAt(responder.baseUrl());
        settings_.setCookie(QString());
        client_.setUsername(QStringLiteral("123"));
        client_.setTransferTimeout(60000);
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
        QCOMPARE(CloudClient::encipherPassword(QStringLiteral("secret")), QStringLiteral("Wcj1EPHL"));
        QCOMPARE(CloudClient::encipherPassword(QStringLiteral("密码pass+/=")),
                 QStringLiteral("zwIQhTQ+YWPIv+N2Sw=="));
        QCOMPARE(CloudClient::encipherPassword(QString()), QString());
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

    // The keys and texts of the file stay as they were; the cookie is read from "cookies" and
    // written to "m_cookie", so it does not survive a restart.
    void settingsKeepTheirKeysAndTexts() {
        Settings writer;
        QSignalSpy changed(&writer, &Settings::changed);
        writer.setRememberPassword(true);
        writer.setUsername(QStringLiteral("alice"));
        writer.setCookie(QStringLiteral("sid=1;"));
        QCOMPARE(changed.first().first().toString(), QStringLiteral("pwd_check"));
        QSettings file(Settings::defaultFileName(), QSettings::IniFormat);
        QCOMPARE(file.value(QStringLiteral("pwd_check")).toString(), QStringLiteral("true"));
        QCOMPARE(file.value(QStringLiteral("m_cookie")).toString(), QStringLiteral("sid=1;"));
        QVERIFY(Settings().rememberPassword());
        QCOMPARE(Settings().username(), QStringLiteral("alice"));
        QCOMPARE(Settings().cookie(), QString());
        file.setValue(QStringLiteral("cookies"), QStringLiteral("old=1;"));
        file.sync();
        QCOMPARE(Settings().cookie(), QStringLiteral("old=1;"));
        file.setValue(QStringLiteral("cookies"), QString());
        writer.setRememberPassword(false);
        QVERIFY(!Settings().rememberPassword());
    }

    // A file left under the old name is moved to the new one on first use, keys and all.
    void settingsMoveFromTheOldFile() {
        QFile::remove(Settings::defaultFileName());
        {
            QSettings old(Settings::oldFileName(), QSettings::IniFormat);
            old.setValue(QStringLiteral("username"), QStringLiteral("moved"));
        }
        QCOMPARE(Settings().username(), QStringLiteral("moved"));
        QVERIFY(!QFile::exists(Settings::oldFileName()));
    }

    void serviceAddressPrefersEnvironmentThenSetting() {
        qunsetenv("QUILLORA_SERVICE_URL");
        QCOMPARE(settings_.serviceUrl(), QStringLiteral(QUILLORA_DEFAULT_SERVICE_URL));
        QSettings(Settings::defaultFileName(), QSettings::IniFormat)
            .setValue(QStringLiteral("serviceUrl"), QStringLiteral("https://cloud.example.org/"));
        QCOMPARE(client_.url(QStringLiteral("/api/x")), QStringLiteral("https://cloud.example.org/api/x"));
        QCOMPARE(client_.registerUrl(), QStringLiteral("https://cloud.example.org/#/mobile_register"));
        QCOMPARE(client_.resetUrl(), QStringLiteral("https://cloud.example.org/#/mobile_reset"));
        QVERIFY(VersionGate::updateMessage(client_.webAddress())
                    .endsWith(QStringLiteral(" 网址 https://cloud.example.org")));
        pointAt(QStringLiteral("http://10.1.2.3:9"));
        QCOMPARE(client_.url(QStringLiteral("/a")), QStringLiteral("http://10.1.2.3:9/a"));
        QSettings(Settings::defaultFileName(), QSettings::IniFormat)
            .setValue(QStringLiteral("serviceUrl"), QString());
    }

    void cookiesMergeByTheirOwnRules() {
        Settings &s = settings_;
        s.mergeCookie(QStringLiteral("sid=abc; Path=/; HttpOnly"));
        // Attributes are kept as cookies, blank included; the flag without "=" is dropped.
        QCOMPARE(s.cookie(), QStringLiteral(" Path=/;sid=abc;"));

        // A later value wins; "a=b=c" keeps a=b; "e=" and "=x" have no pair and are skipped.
        s.mergeCookie(QStringLiteral("sid=new;a=b=c;e=;=x"));
        QCOMPARE(s.cookie(), QStringLiteral(" Path=/;a=b;sid=new;"));

        const QString before = s.cookie();
        s.mergeCookie(QString());
        QCOMPARE(s.cookie(), before);
    }

    void formCarriesUserAndSurvivesReservedCharacters() {
        responder.on("/api/word/class/upLabel", ScriptedResponder::json(R"({"state":1})"));
        client_.setUsername(QStringLiteral("signed-in"));
        const QString awkward = QStringLiteral("a+b/c=d&e f%20g=名");
        const auto got = await<void>([&](auto done) {
            client_.renameClass(QStringLiteral("s"), awkward, QStringLiteral("db"), done);
        });
        QVERIFY(got && got->isOk());
        const ScriptedResponder::Request req = responder.requestsTo("/api/word/class/upLabel").value(0);
        QCOMPARE(req.method, QByteArray("POST"));
        QVERIFY(req.header("Content-Type").startsWith("application/x-www-form-urlencoded"));
        const QMap<QString, QString> form = req.form();
        QCOMPARE(form.value(QStringLiteral("newLabel")), awkward);
        QCOMPARE(form.value(QStringLiteral("username")), QStringLiteral("signed-in"));
        QCOMPARE(form.value(QStringLiteral("dbname")), QStringLiteral("db"));
        // An empty cookie sends no header at all.
        QVERIFY(!req.hasHeader("Cookie"));
    }

    void setCookieIsMergedAndSentBack() {
        responder.on("/api/osx/login",
                     ScriptedResponder::json(R"({"state":1,"username":"u"})",
                                             {{"Set-Cookie", "sid=abc; Path=/; HttpOnly"}}));
        responder.on("/api/word/class/del", ScriptedResponder::json(R"({"state":1})"));
        const auto remove = [&] {
            return await<void>(
                [&](auto done) { client_.removeClass(QStringLiteral("s"), QStringLiteral("db"), done); });
        };
        QVERIFY(await<QString>(
            [&](auto done) { client_.signIn(QStringLiteral("u"), QStringLiteral("p"), done); }));
        QCOMPARE(settings_.cookie(), QStringLiteral(" Path=/;sid=abc;"));

        // No Set-Cookie: the cookie stays, and goes out exactly as stored; Qt's own jar adds nothing.
        QVERIFY(remove());
        QCOMPARE(settings_.cookie(), QStringLiteral(" Path=/;sid=abc;"));
        // (A leading blank of a header value is not part of it in HTTP.)
        QCOMPARE(responder.requestsTo("/api/word/class/del").value(0).header("Cookie"),
                 QByteArray("Path=/;sid=abc;"));

        // Once our cookie is emptied nothing is sent, even though the service had set one.
        settings_.setCookie(QString());
        QVERIFY(remove());
        QVERIFY(!responder.requestsTo("/api/word/class/del").value(1).hasHeader("Cookie"));
    }

    void bodiesThatAreNotJsonFailWhateverTheStatus() {
        responder.on("/api/word/class/create",
                     ScriptedResponder::Reply{200, "<html>oops</html>", {{"Set-Cookie", "bad=1"}}, false});
        responder.on("/api/word/class/del",
                     ScriptedResponder::Reply{500, R"({"state":0,"msg":"boom"})", {}, false});
        responder.on("/api/util/osx/getVersionForm", ScriptedResponder::json("42"));
        responder.on("/api/word/list/getAll", ScriptedResponder::json("[1,2,3]"));
        const auto html = await<QString>([&](auto done) {
            client_.createClass(QStringLiteral("l"), QStringLiteral("0"), QStringLiteral("db"), done);
        });
        QVERIFY(html && !*html);
        QCOMPARE(html->error(), QStringLiteral("网络连接失败:"));
        QVERIFY(!settings_.cookie().contains(QLatin1String("bad")));
        // Any status counts as an answer.
        const auto err = await<void>(
            [&](auto done) { client_.removeClass(QStringLiteral("s"), QStringLiteral("db"), done); });
        QVERIFY(err && !*err);
        QCOMPARE(err->error(), QStringLiteral("boom"));
        // A JSON fragment is still JSON.
        std::optional<std::optional<QJsonValue>> scalar;
        client_.checkVersion([&](const std::optional<QJsonValue> &r) { scalar = r; });
        QTRY_VERIFY_WITH_TIMEOUT(scalar.has_value(), 20000);
        QCOMPARE(scalar->value_or(QJsonValue()).toInt(), 42);
        // A phrase list that is not an object is an error, not a silence that would stall a sync.
        const auto phrases =
            await<QList<Phrase>>([&](auto done) { client_.fetchPhrases(QStringLiteral("db"), done); });
        QVERIFY(phrases && !*phrases);
        QVERIFY(!phrases->error().isEmpty());
    }

    void unreachableAndSilentServicesEndInFailure() {
        pointAt(deadUrl());
        const auto refused = await<QString>(
            [&](auto done) { client_.signIn(QStringLiteral("u"), QStringLiteral("p"), done); });
        QVERIFY(refused && !*refused);
        QCOMPARE(refused->error(), QStringLiteral("网络连接失败:"));

        pointAt(responder.baseUrl());
        responder.on("/api/word/list/getAll", ScriptedResponder::Reply{200, {}, {}, true});
        client_.setTransferTimeout(1500);
        const auto silent =
            await<QList<Phrase>>([&](auto done) { client_.fetchPhrases(QStringLiteral("db"), done); });
        QVERIFY(silent && !*silent);
        QCOMPARE(silent->error(), QStringLiteral("网络连接失败:"));
    }

    void repliesWithoutStateAreFailures() {
        responder.on("/api/word/class/create", ScriptedResponder::json(R"({"sign":"s1","msg":"no state"})"));
        responder.on("/api/osx/login", ScriptedResponder::json(R"({"username":"x"})"));
        responder.on("/api/word/list/upValue", ScriptedResponder::json(R"({"state":1})"));
        // Signing in empties only the stored cookie; the shared one still goes out with the request.
        settings_.setCookie(QStringLiteral("old=1;"));
        const auto created = await<QString>([&](auto done) {
            client_.createClass(QStringLiteral("l"), QStringLiteral("0"), QStringLiteral("db"), done);
        });
        const auto login = await<QString>(
            [&](auto done) { client_.signIn(QStringLiteral("u"), QStringLiteral("p"), done); });
        const auto updated = await<void>([&](auto done) {
            client_.updatePhrase(QStringLiteral("p"), QStringLiteral("s"), QStringLiteral("l"),
                                 QStringLiteral("[]"), QStringLiteral("db"), done);
        });
        QVERIFY(created && login && updated);
        QVERIFY(!*created);
        QCOMPARE(created->error(), QStringLiteral("no state"));
        QVERIFY(!*login);
        QVERIFY(updated->isOk());
        const QMap<QString, QString> form = responder.requestsTo("/api/word/list/upValue").value(0).form();
        QCOMPARE(form.value(QStringLiteral("newParentSign")), QStringLiteral("p"));
        QCOMPARE(form.value(QStringLiteral("newJsonValue")), QStringLiteral("[]"));
        QCOMPARE(form.value(QStringLiteral("dbname")), QStringLiteral("db"));
        // The login form: the plural key, the enciphered password, and the former user's name.
        const QMap<QString, QString> lf = responder.requestsTo("/api/osx/login").value(0).form();
        QCOMPARE(lf.value(QStringLiteral("usernames")), QStringLiteral("u"));
        QCOMPARE(lf.value(QStringLiteral("password")), CloudClient::encipherPassword(QStringLiteral("p")));
        QCOMPARE(lf.value(QStringLiteral("username")), QStringLiteral("123"));
        QCOMPARE(responder.requestsTo("/api/osx/login").value(0).header("Cookie"), QByteArray("old=1;"));
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
        // An address that is not one is told as a failure, not acted on.
        const VersionGate bad =
            VersionGate::judge(QJsonDocument::fromJson(R"({"version":2,"url":"not an address"})").object());
        QCOMPARE(bad.kind(), VersionGate::Kind::NetworkFailure);
        QVERIFY(bad.error().contains(QStringLiteral("not an address")));

        // End to end: the reply reaches the gate as it came.
        responder.on("/api/util/osx/getVersionForm", ScriptedResponder::json(R"({"version":1})"));
        std::optional<std::optional<QJsonValue>> reply;
        client_.checkVersion([&](const std::optional<QJsonValue> &r) { reply = r; });
        QTRY_VERIFY_WITH_TIMEOUT(reply.has_value(), 20000);
        QCOMPARE(VersionGate::judge(*reply).kind(), VersionGate::Kind::Ready);
    }

    void phraseFetchTakesAnEmptyList() {
        responder.on("/api/word/list/getAll", ScriptedResponder::json(R"({"state":1,"data":[]})"));
        const auto empty =
            await<QList<Phrase>>([&](auto done) { client_.fetchPhrases(QStringLiteral("db"), done); });
        QVERIFY(empty && empty->isOk());
        QVERIFY(empty->value().isEmpty());
    }

    void classFetchReadsEveryField() {
        responder.on(
            "/api/word/class/getAll",
            ScriptedResponder::json(R"({"state":1,"data":[{"id":7,"sign":"S","label":"L","position":2,)"
                                    R"("username":"u"},{"sign":"T"}]})"));
        const auto got =
            await<QList<PhraseClass>>([&](auto done) { client_.fetchClasses(QStringLiteral("db"), done); });
        QVERIFY(got && got->isOk());
        QCOMPARE(got->value().size(), 2);
        QCOMPARE(got->value().at(0),
                 PhraseClass(7, QStringLiteral("S"), QStringLiteral("L"), 2, QStringLiteral("u")));
        QCOMPARE(got->value().at(1), PhraseClass(0, QStringLiteral("T")));
    }

    // A library without a single class is refused: the sync asks for the end and keeps the store.
    void emptyClassListIsRefused() {
        responder.on("/api/word/class/getAll", ScriptedResponder::json(R"({"state":1,"data":[]})"));
        LocalStore db;
        QVERIFY(db.open());
        PhraseStore phrases(db);
        ClassStore classes(db);
        QVERIFY(classes.create(QStringLiteral("K"), QStringLiteral("kept"), 0, QStringLiteral("empty-user")));
        LibrarySync sync(client_, classes, phrases, QStringLiteral("empty-user"));
        QSignalSpy refused(&sync, &LibrarySync::libraryRefused);
        sync.syncAll();
        QTRY_COMPARE_WITH_TIMEOUT(refused.count(), 1, 20000);
        QVERIFY(!refused.first().first().toString().isEmpty());
        QCOMPARE(classes.getAll(QStringLiteral("empty-user")).size(), 1);
        QVERIFY(responder.requestsTo("/api/word/list/getAll").isEmpty());
    }

    // One check at start whatever the calls; only state -1 means the sign-in was revoked.
    void heartbeatReportsOnlyARevokedSession() {
        responder.on("/api/user/SyncCheckOSX", ScriptedResponder::json(R"({"state":-1})"));
        SessionHeartbeat heartbeat(client_);
        QSignalSpy revoked(&heartbeat, &SessionHeartbeat::revoked);
        heartbeat.start();
        heartbeat.start();
        QTRY_COMPARE_WITH_TIMEOUT(revoked.count(), 1, 20000);
        QCOMPARE(responder.requestsTo("/api/user/SyncCheckOSX").size(), 1);
        QCOMPARE(
            responder.requestsTo("/api/user/SyncCheckOSX").value(0).form().value(QStringLiteral("version")),
            QStringLiteral("1"));
        for (const char *json : {R"({"state":0})", R"({"state":1})", R"({"msg":"no state"})"})
            heartbeat.handleReply(QJsonDocument::fromJson(json).object());
        heartbeat.handleReply(std::nullopt);
        QCOMPARE(revoked.count(), 1);
    }

    void picturesTravelByNameAndWithoutCookie() {
        settings_.setCookie(QStringLiteral("sid=1;"));
        client_.setUsername(QStringLiteral("pic-user"));
        const QString name = QStringLiteral("ab.png");
        const QByteArray path = "/api/resource/word/getImage64/" + name.toUtf8().toBase64();
        responder.on(path, ScriptedResponder::json(R"({"state":1,"base64":"AAEC"})"));
        responder.on("/api/word/image/imageNameExist", ScriptedResponder::json(R"({"state":0})"));
        std::optional<Result<QString>> down, missing;
        std::optional<bool> known;
        client_.downloadPicture(name, [&](const Result<QString> &r) { down = r; });
        client_.downloadPicture(QStringLiteral("other.png"), [&](const Result<QString> &r) { missing = r; });
        client_.pictureExists(name, [&](bool k) { known = k; });
        QTRY_VERIFY_WITH_TIMEOUT(down && missing && known, 20000);
        QVERIFY(down->isOk());
        QCOMPARE(down->value(), QStringLiteral("AAEC"));
        QVERIFY(!*missing);
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
        client_.setUsername(QStringLiteral("up-user"));
        settings_.setCookie(QStringLiteral("sid=1;"));
        // A GIF on disk still travels as "image/png".
        const QByteArray gif("GIF89a-not-really-a-picture");
        const QString name = ImageUtil::fileNameOf(gif);
        QVERIFY(AppFileUtil::saveImage(gif, name));
        responder.on("/api/word/image/uploadImage",
                     ScriptedResponder::json(R"({"state":0,"msg":"图片过大"})", {{"Set-Cookie", "up=2"}}));
        std::optional<Result<void>> refused;
        QList<int> progress;
        client_.uploadPicture(
            name, [&](const Result<void> &r) { refused = r; }, [&](int p) { progress.append(p); });
        QTRY_VERIFY_WITH_TIMEOUT(refused.has_value(), 20000);
        QVERIFY(!*refused);
        QCOMPARE(refused->error(), QStringLiteral("图片过大"));
        QCOMPARE(settings_.cookie(), QStringLiteral("sid=1;up=2;"));
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
        std::optional<Result<void>> failed;
        client_.uploadPicture(name, [&](const Result<void> &r) { failed = r; }, {});
        QTRY_VERIFY_WITH_TIMEOUT(failed.has_value(), 20000);
        QVERIFY(failed->error().startsWith(QStringLiteral("上传失败:")));
        QVERIFY(failed->error().size() > QStringLiteral("上传失败:").size());
        QCOMPARE(settings_.cookie(), QStringLiteral("sid=1;up=2;"));
    }

    void synchronisationSkipsNamesThatAreNotPlainFiles() {
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
        LibrarySync sync(client_, classes, phrases, QStringLiteral("sync-user"));
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
        LocalStore db;
        QVERIFY(db.open());
        PhraseStore phrases(db);
        ClassStore classes(db);
        QVERIFY(
            classes.create(QStringLiteral("K"), QStringLiteral("kept"), 0, QStringLiteral("offline-user")));
        QVERIFY(phrases.create(QStringLiteral("K"), QStringLiteral("W"), QStringLiteral("w"),
                               PhraseContent::fromJson(QStringLiteral("[]")), 0,
                               QStringLiteral("offline-user")));
        pointAt(deadUrl());
        LibrarySync sync(client_, classes, phrases, QStringLiteral("offline-user"));
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

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    tst_cloud_client test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cloud_client.moc"
