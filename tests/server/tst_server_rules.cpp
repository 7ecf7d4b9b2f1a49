#include "api/contentrules.h"
#include "api/picturename.h"
#include "app/serverconfig.h"
#include "http/cookiereader.h"
#include "security/rc4cipher.h"
#include "security/secrets.h"

#include <QTest>

class TestServerRules : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(Secrets::init()); }

    void derivedColumnsFollowTheClientRules() {
        const auto d = ContentRules::validate(R"([{"type":1,"value":"Hi "},{"type":2,"value":"ab.png"},)"
                                              R"({"value":"there","type":1},{"type":2,"value":"b.png"},)"
                                              R"({"type":2,"value":""},{"type":2,"value":"c.gif"}])");
        QVERIFY(d);
        QCOMPARE(d->texts, std::string("Hi there"));
        // "b.png" already occurs inside "ab.png|": skipped, as the client does.
        QCOMPARE(d->images, std::string("ab.png|c.gif|"));

        const auto twice =
            ContentRules::validate(R"([{"type":2,"value":"a.png"},{"type":2,"value":"a.png"}])");
        QVERIFY(twice);
        QCOMPARE(twice->images, std::string("a.png|"));
        QCOMPARE(twice->pictures, (std::vector<std::string>{"a.png", "a.png"}));
        QCOMPARE(twice->texts, std::string());

        const auto empty = ContentRules::validate(" [ ] ");
        QVERIFY(empty);
        QVERIFY(empty->texts.empty() && empty->images.empty());
    }

    void malformedContentIsRefused_data() {
        QTest::addColumn<QString>("json");
        QTest::newRow("not json") << "hello";
        QTest::newRow("empty") << "";
        QTest::newRow("object") << R"({"type":1,"value":"a"})";
        QTest::newRow("item not object") << R"([1,2])";
        QTest::newRow("missing value") << R"([{"type":1}])";
        QTest::newRow("type as text") << R"([{"type":"1","value":"a"}])";
        QTest::newRow("fractional type") << R"([{"type":1.5,"value":"a"}])";
        QTest::newRow("unknown type") << R"([{"type":3,"value":"a"}])";
        QTest::newRow("value not text") << R"([{"type":1,"value":7}])";
        QTest::newRow("extra member") << R"([{"type":1,"value":"a","x":0}])";
        QTest::newRow("trailing garbage") << R"([{"type":1,"value":"a"}] x)";
        // Two readers of a repeated key may each take another value.
        QTest::newRow("repeated key") << R"([{"type":2,"type":1,"value":"a"}])";
        QTest::newRow("repeated nested key")
            << R"([{"type":1,"value":"a"},{"value":"b","type":1,"value":"c"}])";
        QTest::newRow("lone surrogate escape") << R"([{"type":1,"value":"\ud800"}])";
    }
    void malformedContentIsRefused() {
        QFETCH(QString, json);
        QVERIFY(!ContentRules::validate(json.toStdString()));
    }

    void utf8LengthCountsCodePointsAndRejectsBrokenText() {
        QCOMPARE(ContentRules::utf8Length("默认分类").value_or(0), std::size_t(4));
        QCOMPARE(ContentRules::utf8Length("a😀b").value_or(0), std::size_t(3));
        QVERIFY(!ContentRules::utf8Length("\xe9\xbb"));         // cut short
        QVERIFY(!ContentRules::utf8Length("a\xff"));            // never valid
        QVERIFY(!ContentRules::utf8Length("\xc0\xaf"));         // overlong
        QVERIFY(!ContentRules::utf8Length("\xe9\x41\x41"));     // bad continuation
        QVERIFY(!ContentRules::utf8Length("\xe0\x80\xaf"));     // overlong in three bytes
        QVERIFY(!ContentRules::utf8Length("\xf0\x80\x80\xaf")); // overlong in four bytes
        QVERIFY(!ContentRules::utf8Length("\xed\xa0\x80"));     // a UTF-16 surrogate
        QVERIFY(!ContentRules::utf8Length("\xf4\x90\x80\x80")); // past U+10FFFF
        QCOMPARE(ContentRules::utf8Length("\xed\x9f\xbf\xee\x80\x80").value_or(0), std::size_t(2));
        QCOMPARE(ContentRules::utf8Length("\xf4\x8f\xbf\xbf").value_or(0), std::size_t(1));
    }

    void cipherMatchesTheStandardStream() {
        const std::string out = Rc4Cipher::apply("Plaintext", "Key");
        QCOMPARE(QByteArray::fromStdString(out).toHex(), QByteArray("bbf316e8d940af0ad3"));
        const std::string secret = "密码 with blanks+/";
        const auto once = Rc4Cipher::apply(secret, Rc4Cipher::passwordKey());
        QVERIFY(once != secret);
        QCOMPARE(Rc4Cipher::apply(once, Rc4Cipher::passwordKey()), secret);
    }

    void sessionCookieIsFoundInWhatTheClientEchoes() {
        using V = std::vector<std::string>;
        QCOMPARE(CookieReader::sessionTokens({"quillora_session=abc; Path=/; HttpOnly"}), V{"abc"});
        QCOMPARE(CookieReader::sessionTokens({" Path=/;quillora_session=abc; Secure=;"}), V{"abc"});
        QCOMPARE(CookieReader::sessionTokens({"other=1", "  quillora_session = \"q\" ;x=2"}), V{"q"});
        QCOMPARE(CookieReader::sessionTokens({"quillora_session=a;quillora_session=b"}), (V{"a", "b"}));
        QVERIFY(CookieReader::sessionTokens({"xquillora_session=a; quillora_sessionx=b; quillora_session="})
                    .empty());
        QVERIFY(CookieReader::sessionTokens({";;;", ""}).empty());
    }

    void pictureNamesMustBePlainAndHonest() {
        QVERIFY(PictureName::isPlain("a.png"));
        QVERIFY(PictureName::isPlain(".jpg")); // the client's name for pictures of unknown type
        QVERIFY(PictureName::isPlain("截图 1.png"));
        QVERIFY(PictureName::isPlain(std::string(64, 'x')));
        QVERIFY(!PictureName::isPlain(std::string(65, 'x')));
        for (const char *bad : {"", ".", "..", "../a.png", "a/b.png", "a\\b.png", "a\nb.png", "\xff.png"})
            QVERIFY2(!PictureName::isPlain(bad), bad);

        const std::string bytes = "\x89PNG fake";
        const auto md5 = Secrets::md5Hex(bytes);
        QCOMPARE(md5.size(), std::size_t(32));
        QVERIFY(PictureName::isContentAddressed(md5 + ".png"));
        QVERIFY(PictureName::matchesContent(md5 + ".png", bytes));
        QVERIFY(
            PictureName::matchesContent(QString::fromStdString(md5).toUpper().toStdString() + ".PNG", bytes));
        QVERIFY(!PictureName::matchesContent(md5 + ".png", bytes + "x"));
        QVERIFY(!PictureName::isContentAddressed(md5));
        QVERIFY(!PictureName::isContentAddressed(md5 + "."));
        QVERIFY(PictureName::matchesContent("logo.png", "anything"));

        // Stored are digests with the extension of a type the client shows, nothing else.
        for (const auto &good :
             {md5 + ".png", md5 + ".jpg", md5 + ".jpeg", md5 + ".gif", md5 + ".bmp", md5 + ".PNG"})
            QVERIFY2(PictureName::isAccepted(good), good.c_str());
        for (const auto &bad : {std::string(".jpg"), std::string("logo.png"), md5 + ".webp", md5 + ".tiff",
                                md5.substr(1) + ".png", md5 + "0.png", "g" + md5.substr(1) + ".png"})
            QVERIFY2(!PictureName::isAccepted(bad), bad.c_str());
    }

    void base64AcceptsMissingPaddingAndRejectsGarbage() {
        QCOMPARE(Secrets::fromBase64("YWI/LnBuZw==").value_or("?"), std::string("ab?.png"));
        QCOMPARE(Secrets::fromBase64("YWI/LnBuZw").value_or("?"), std::string("ab?.png"));
        QCOMPARE(Secrets::fromBase64("").value_or("?"), std::string());
        QVERIFY(!Secrets::fromBase64("YWI*"));
        QVERIFY(!Secrets::fromBase64("YWJjZ"));
        QVERIFY(!Secrets::fromBase64("YW Jj"));
        QCOMPARE(Secrets::toBase64("ab?.png"), std::string("YWI/LnBuZw=="));
        QVERIFY(Secrets::randomHex128() != Secrets::randomHex128());
    }

    void commandLineOptions() {
        std::vector<std::string> positional;
        std::string error;
        auto c = ServerConfig::parse(
            {"alice", "--port", "0", "--data", "/d", "--single-session", "--min-version", "3"}, positional,
            error);
        QCOMPARE(error, std::string());
        QCOMPARE(positional, std::vector<std::string>{"alice"});
        QCOMPARE(c.port, 0);
        QCOMPARE(c.databasePath(), std::string("/d/quillora-cloud.sqlite3"));
        QVERIFY(c.singleSession);
        QCOMPARE(c.minVersion, std::int64_t(3));
        QCOMPARE(c.quotaBytes, std::int64_t(1024) * 1024 * 1024);
        c = ServerConfig::parse(
            {"--quota-mib", "2", "--max-connections", "50", "--max-connections-per-address", "5"}, positional,
            error);
        QCOMPARE(error, std::string());
        QCOMPARE(c.quotaBytes, std::int64_t(2) * 1024 * 1024);
        QCOMPARE(c.maxConnections, std::size_t(50));
        QCOMPARE(c.maxConnectionsPerAddress, std::size_t(5));

        for (const std::vector<std::string> &bad : {std::vector<std::string>{"--port", "70000"},
                                                    {"--port", "12x"},
                                                    {"--port"},
                                                    {"--tls-cert", "c"},
                                                    {"--min-version", "0"},
                                                    {"--frobnicate"},
                                                    {"--max-picture-mib", "0"},
                                                    {"--quota-mib", "0"},
                                                    {"--max-connections", "0"},
                                                    {"--max-connections-per-address", "x"}}) {
            error.clear();
            positional.clear();
            ServerConfig::parse(bad, positional, error);
            QVERIFY2(!error.empty(), bad.front().c_str());
        }
    }
};

QTEST_GUILESS_MAIN(TestServerRules)
#include "tst_server_rules.moc"
