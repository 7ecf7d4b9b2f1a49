// quillora-cloud against peers that do not play by the rules: broken framing, floods, slow and
// silent connections, many connections, sign-in floods. Every case is bounded in bytes and time,
// only ever aims at loopback, and checks that an ordinary request is still served meanwhile.
#include "rawconnection.h"
#include "serviceclient.h"

#include "cloudservice.h"
#include "security/loginthrottle.h"
#include "security/secrets.h"
#include "testenv.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <thread>
#include <vector>

using nlohmann::json;
using namespace std::chrono_literals;

namespace {

const std::string versionForm = RawConnection::formPost("/api/util/osx/getVersionForm", "version=1");

// An ordinary request on a fresh connection is answered.
bool served(int port, const std::string &source = "127.0.0.1") {
    RawConnection c(port, source);
    if (!c.connected() || !c.send(versionForm))
        return false;
    const auto r = c.read(20s);
    return r.status == 200 && json::parse(r.body, nullptr, false).value("state", 0) == 1;
}

// The service's resident memory in MiB, found by its data folder on the command line.
long residentMib(const QString &dataDir) {
    for (const auto &pid : QDir("/proc").entryList(QDir::Dirs)) {
        QFile cmdline("/proc/" + pid + "/cmdline");
        if (!cmdline.open(QIODevice::ReadOnly) || !cmdline.readAll().contains(dataDir.toUtf8()))
            continue;
        QFile status("/proc/" + pid + "/status");
        if (!status.open(QIODevice::ReadOnly))
            continue;
        for (const auto &line : status.readAll().split('\n'))
            if (line.startsWith("VmRSS:"))
                return line.mid(6).trimmed().split(' ').first().toLong() / 1024;
    }
    return -1;
}

} // namespace

class TestServerHostile : public QObject {
    Q_OBJECT

    CloudService service_{{"--header-timeout", "2"}};
    int port() const { return service_.port(); }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(Secrets::init());
        QVERIFY(service_.start());
        QVERIFY(service_.addUser("alice", "alice-pw"));
    }

    void rangeHeadersAreIgnored() {
        ServiceClient alice(service_.baseUrl().toStdString());
        QCOMPARE(alice.login("alice", "alice-pw").json.value("state", 0), 1);
        const std::string picture(200 * 1024, 'r');
        const auto name = Secrets::md5Hex(picture) + ".bmp";
        QCOMPARE(alice.upload("alice", name, picture).json.value("state", 0), 1);
        std::string ranges = "bytes=0-";
        for (int i = 0; i < 2000; ++i)
            ranges += ",0-";
        RawConnection c(port());
        QVERIFY(c.send("GET /api/resource/word/getImage64/" + Secrets::toBase64(name) +
                       " HTTP/1.1\r\nHost: 127.0.0.1\r\nRange: " + ranges + "\r\n\r\n"));
        const auto r = c.read();
        QCOMPARE(r.status, 200);
        QVERIFY(!r.headers.count("content-range"));
        QCOMPARE(Secrets::fromBase64(json::parse(r.body).value("base64", "")).value_or(""), picture);
    }

    void untrustworthyFramingIsRefusedAndClosed_data() {
        QTest::addColumn<QString>("headers");
        QTest::newRow("two lengths") << "Content-Length: 9\r\nContent-Length: 10\r\n";
        QTest::newRow("length and chunked") << "Content-Length: 9\r\nTransfer-Encoding: chunked\r\n";
        QTest::newRow("signed length") << "Content-Length: +9\r\n";
        QTest::newRow("hex length") << "Content-Length: 0x9\r\n";
        QTest::newRow("two numbers") << "Content-Length: 9 9\r\n";
        QTest::newRow("unknown coding") << "Transfer-Encoding: gzip\r\n";
    }
    void untrustworthyFramingIsRefusedAndClosed() {
        QFETCH(QString, headers);
        RawConnection c(port());
        QVERIFY(c.send("POST /api/util/osx/getVersionForm HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
                       headers.toStdString() + "\r\nversion=1"));
        const auto r = c.read();
        QCOMPARE(r.status, 400);
        QCOMPARE(json::parse(r.body, nullptr, false).value("state", -1), 0);
        QVERIFY(c.closedWithin(10s));
        QVERIFY(served(port()));
    }

    void pipelinedRequestsAreAnsweredInOrder() {
        RawConnection c(port());
        QVERIFY(c.send(versionForm + RawConnection::formPost("/api/ios/getIsTourist", "version=1") +
                       "GET /nowhere HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n" + versionForm));
        const auto first = c.read(), second = c.read(), third = c.read(), fourth = c.read();
        QCOMPARE(first.status, 200);
        QVERIFY(json::parse(first.body).contains("version"));
        QCOMPARE(second.status, 200);
        QCOMPARE(json::parse(second.body).value("re", -1), 1);
        QCOMPARE(third.status, 404);
        QCOMPARE(fourth.status, 200);
        QVERIFY(json::parse(fourth.body).contains("version"));
    }

    void aPostWithoutLengthHasNoBody() {
        RawConnection c(port());
        QVERIFY(c.send("POST /api/util/osx/getVersionForm HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"));
        const auto r = c.read(5s);
        QCOMPARE(r.status, 200);
        QCOMPARE(json::parse(r.body).value("state", 0), 1);
    }

    void bodiesOverTheCapAreCutEvenWhenChunked() {
        // Declared too large: refused before a byte of it is read.
        {
            RawConnection c(port());
            QVERIFY(c.send("POST /api/util/osx/getVersionForm HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                           "Content-Length: 209715200\r\n\r\n"));
            const auto r = c.read();
            QCOMPARE(r.status, 413);
            QCOMPARE(json::parse(r.body).value("msg", ""), std::string("请求内容过大"));
        }
        // Chunked, never declared: cut once the total passes the cap (4 MiB for forms).
        RawConnection c(port());
        QVERIFY(c.send("POST /api/util/osx/getVersionForm HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                       "Transfer-Encoding: chunked\r\n\r\n"));
        const std::string chunk = "10000\r\n" + std::string(0x10000, 'c') + "\r\n";
        for (int i = 0; i < 256 && c.send(chunk); ++i) {
        }
        const auto r = c.read();
        QCOMPARE(r.status, 413);
        QVERIFY(c.closedWithin(10s));
        QVERIFY(served(port()));
    }

    void bodiesHeldAtOnceShareOneBudget() {
        // Each declares a 10 MiB upload and sends nothing more: the service holds at most 64 MiB of
        // bodies, so the seventh is refused at once instead of adding to memory.
        const std::string declared = "POST /api/word/image/uploadImage HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                                     "Content-Type: multipart/form-data; boundary=b\r\n"
                                     "Content-Length: 10485760\r\n\r\n";
        std::vector<std::unique_ptr<RawConnection>> waiting;
        for (int i = 0; i < 6; ++i) {
            waiting.push_back(std::make_unique<RawConnection>(port()));
            QVERIFY(waiting.back()->send(declared));
        }
        QVERIFY(!waiting.back()->closedWithin(500ms)); // held, waiting for its body
        RawConnection seventh(port());
        QVERIFY(seventh.send(declared));
        QCOMPARE(seventh.read().status, 503);
        QVERIFY(served(port()));
        // Given up, they give their share back.
        waiting.clear();
        bool again = false;
        for (int i = 0; i < 50 && !again; ++i) {
            RawConnection late(port());
            late.send(declared);
            again = !late.closedWithin(200ms);
        }
        QVERIFY(again);
    }

    void headerFloodsAreCut() {
        // Many small fields within the size limit: too many of them.
        {
            RawConnection c(port());
            std::string many;
            for (int i = 0; i < 1000; ++i)
                many += "X: y\r\n";
            QVERIFY(c.send("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n" + many + "\r\n"));
            QCOMPARE(c.read().status, 431);
            QVERIFY(c.closedWithin(10s));
        }
        // Endless fields, and one endless line: cut at the size limit, long before the end.
        for (const std::string &piece : {std::string("X-Flood: 0123456789\r\n"), std::string(1024, 'h')}) {
            RawConnection c(port());
            QVERIFY(c.send("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n"));
            std::string block;
            while (block.size() < 64 * 1024)
                block += piece;
            for (int i = 0; i < 64 && c.send(block); ++i) {
            }
            QCOMPARE(c.read().status, 431);
            QVERIFY(c.closedWithin(10s));
        }
        QVERIFY(served(port()));
    }

    void slowClientsDoNotShutOthersOut() {
        std::vector<std::unique_ptr<RawConnection>> slow;
        for (int i = 0; i < 60; ++i) {
            slow.push_back(std::make_unique<RawConnection>(port()));
            QVERIFY(slow.back()->send("POST /api/util/osx/getVersionForm HTTP/1.1\r\n"));
        }
        // They trickle a header byte now and then; everyone else is served meanwhile.
        for (int round = 0; round < 4; ++round) {
            for (auto &c : slow)
                c->send("X");
            QVERIFY(served(port()));
            std::this_thread::sleep_for(300ms);
        }
        // The header deadline (2 s here) ends every one of them.
        for (auto &c : slow)
            QVERIFY(c->closedWithin(20s));
    }

    void residentMemoryStaysBounded() {
        // After the floods above, and after several large uploads at once.
        ServiceClient alice(service_.baseUrl().toStdString());
        QCOMPARE(alice.login("alice", "alice-pw").json.value("state", 0), 1);
        std::vector<std::thread> uploads;
        for (int t = 0; t < 6; ++t)
            uploads.emplace_back([&, t] {
                ServiceClient c(service_.baseUrl().toStdString());
                c.cookie = alice.cookie;
                const std::string picture(8 * 1024 * 1024, char('a' + t));
                c.upload("alice", Secrets::md5Hex(picture) + ".png", picture);
            });
        for (auto &t : uploads)
            t.join();
        const long mib = residentMib(service_.dataDir());
        QVERIFY(mib > 0);
        QVERIFY2(mib < 150, QByteArray::number(qlonglong(mib)) + " MiB");
    }

    void connectionCapsRefuseTheExcessAtOnce() {
        CloudService capped({"--max-connections-per-address", "4", "--max-connections", "8"});
        QVERIFY(capped.start());
        const int p = capped.port();
        std::vector<std::unique_ptr<RawConnection>> idle;
        for (int i = 0; i < 4; ++i)
            idle.push_back(std::make_unique<RawConnection>(p, "127.0.0.1"));
        QVERIFY(served(p, "127.0.0.2")); // another address has its own allowance
        // The address's fifth connection gets a refusal, not a wait.
        {
            RawConnection fifth(p, "127.0.0.1");
            const auto r = fifth.read(5s);
            QCOMPARE(r.status, 503);
            QVERIFY(fifth.closedWithin(5s));
        }
        for (int i = 0; i < 4; ++i)
            idle.push_back(std::make_unique<RawConnection>(p, "127.0.0.2"));
        // Eight in all: the total cap refuses a third address too.
        RawConnection third(p, "127.0.0.3");
        QCOMPARE(third.read(5s).status, 503);
        idle.clear();
        bool again = false;
        for (int i = 0; i < 50 && !again; ++i) {
            again = served(p, "127.0.0.1");
            if (!again)
                std::this_thread::sleep_for(100ms);
        }
        QVERIFY(again);
    }

    void signInFloodsAreThrottledPerAddress() {
        CloudService fresh;
        QVERIFY(fresh.start());
        QVERIFY(fresh.addUser("owner", "owner-pw"));
        const auto attempt = [&](const std::string &source, const std::string &name,
                                 const std::string &password) {
            RawConnection c(fresh.port(), source);
            c.send(RawConnection::formPost("/api/osx/login", "usernames=" + name + "&username=123&password=" +
                                                                 ServiceClient::cipherPassword(password)));
            return c.read(30s);
        };
        int refusedFast = 0;
        for (int i = 0; i < 30 && refusedFast < 3; ++i) {
            const auto r = attempt("127.0.0.1", "stranger" + std::to_string(i), "guess");
            if (r.status == 429) {
                ++refusedFast;
                QCOMPARE(json::parse(r.body).value("state", -1), 0);
                QCOMPARE(json::parse(r.body).value("msg", ""), std::string("登录尝试过于频繁，请稍后再试"));
                // The true wait: at most until the next token comes back.
                const auto retry = r.headers.count("retry-after") ? r.headers.at("retry-after") : "none";
                const int wait = std::atoi(retry.c_str());
                QVERIFY2(wait >= 1 && wait <= std::ceil(1 / LoginThrottle::perSecond), retry.c_str());
            } else {
                QCOMPARE(r.status, 200);
            }
        }
        QCOMPARE(refusedFast, 3);
        // The flood's address is turned away even with a right password; others are not.
        QCOMPARE(attempt("127.0.0.1", "owner", "owner-pw").status, 429);
        const auto owner = attempt("127.0.0.2", "owner", "owner-pw");
        QCOMPARE(owner.status, 200);
        QCOMPARE(json::parse(owner.body).value("state", 0), 1);
    }

    void silentTlsConnectionsAreDroppedAtTheHandshakeDeadline() {
        QTemporaryDir dir;
        const QString cert = dir.filePath("cert.pem"), key = dir.filePath("key.pem");
        QProcess openssl;
        openssl.start("openssl",
                      {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                       "-days", "1", "-subj", "/CN=127.0.0.1", "-keyout", key, "-out", cert});
        QVERIFY(openssl.waitForFinished(60000));
        QCOMPARE(openssl.exitCode(), 0);
        CloudService tls({"--tls-cert", cert, "--tls-key", key, "--header-timeout", "2"});
        QVERIFY(tls.start());
        std::vector<std::unique_ptr<RawConnection>> silent;
        for (int i = 0; i < 100; ++i)
            silent.push_back(std::make_unique<RawConnection>(tls.port()));
        ServiceClient c(tls.baseUrl().toStdString());
        const auto version = c.post("/api/util/osx/getVersionForm", {{"version", "1"}});
        QCOMPARE(version.json.value("state", 0), 1);
        for (auto &s : silent)
            QVERIFY(s->closedWithin(20s));
    }

    void cleanupTestCase() { service_.stop(); }
};

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    TestServerHostile test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_server_hostile.moc"
