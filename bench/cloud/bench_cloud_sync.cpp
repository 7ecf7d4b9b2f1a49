// A full synchronisation of 200 classes and 10,000 phrases (no pictures) from a local quillora-cloud,
// end to end, and its split into fetch (HTTP), parse (JSON) and store (one replacement per table).
// Usage: bench_cloud_sync [runs]   (default 5; prints medians in milliseconds)
#include "cloud/cloudclient.h"
#include "cloud/httpform.h"
#include "cloud/librarysync.h"
#include "model/phraselistreply.h"
#include "model/settings.h"
#include "store/classstore.h"
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"

#include "cloudservice.h"
#include "testenv.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <vector>

namespace {

constexpr int kClasses = 200;
constexpr int kPhrases = 10000;
const QString kUser = QStringLiteral("bench");

// Runs the event loop until done() holds.
void spin(const std::function<bool()> &done) {
    while (!done())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Keeps a few creates in flight at once so seeding does not wait on one round trip at a time.
bool seed(CloudClient &client) {
    bool ok = true;
    QStringList signs;
    int inFlight = 0;
    // The account starts with one class of its own.
    for (int i = 1; i < kClasses && ok; ++i) {
        spin([&]() { return inFlight < 6; });
        ++inFlight;
        client.createClass(QStringLiteral("分类 %1").arg(i), QString::number(i), kUser,
                           [&](const Result<QString> &r) {
                               --inFlight;
                               ok = ok && r.isOk();
                           });
    }
    spin([&]() { return inFlight == 0; });
    std::optional<Result<QList<PhraseClass>>> all;
    client.fetchClasses(kUser, [&](const Result<QList<PhraseClass>> &r) { all = r; });
    spin([&]() { return all.has_value(); });
    if (!ok || !*all || all->value().size() != kClasses)
        return false;
    for (const PhraseClass &c : all->value())
        signs.append(c.sign);

    for (int i = 0; i < kPhrases && ok; ++i) {
        spin([&]() { return inFlight < 6; });
        ++inFlight;
        const QString text =
            QStringLiteral("您好，感谢您的耐心等待。订单 %1 已经发出，预计两到三天送达，请留意物流信息。")
                .arg(i);
        const QString json = QStringLiteral("[{\"type\":1,\"value\":\"%1\"}]").arg(text);
        client.createPhrase(signs.at(i % kClasses), QStringLiteral("回复 %1").arg(i), json,
                            QString::number(i / kClasses), kUser, [&](const Result<QString> &r) {
                                --inFlight;
                                ok = ok && r.isOk();
                            });
        if (i % 1000 == 999)
            std::fprintf(stderr, "seeded %d phrases\n", i + 1);
    }
    spin([&]() { return inFlight == 0; });
    return ok;
}

// The bare request of the client, without its parsing.
QByteArray fetch(QNetworkAccessManager &manager, const Settings &settings, const char *path) {
    QNetworkRequest request{QUrl(settings.serviceUrl() + QString::fromLatin1(path))};
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QByteArrayLiteral("application/x-www-form-urlencoded; charset=utf-8"));
    request.setRawHeader("Cookie", settings.cookie().toUtf8());
    QNetworkReply *reply = manager.post(
        request, httpform::encode({{QStringLiteral("dbname"), kUser}, {QStringLiteral("username"), kUser}}));
    spin([&]() { return reply->isFinished(); });
    const QByteArray body = reply->readAll();
    reply->deleteLater();
    return body;
}

} // namespace

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;

    CloudService service;
    if (!service.start() || !service.addUser(kUser, QStringLiteral("bench-password"))) {
        std::fprintf(stderr, "could not start quillora-cloud\n");
        return 1;
    }
    qputenv("QUILLORA_SERVICE_URL", service.baseUrl().toUtf8());
    LocalPath::initDirs();
    LocalStore db;
    if (!db.open()) {
        std::fprintf(stderr, "could not open the local database\n");
        return 1;
    }
    PhraseStore phraseStore(db);
    ClassStore classStore(db);
    Settings settings;
    CloudClient client(settings);
    QNetworkAccessManager manager;
    LibrarySync sync(client, classStore, phraseStore, kUser);

    // The client's log lines are part of the work; send them where nobody reads them.
    std::ofstream sink("/dev/null");
    std::streambuf *console = std::cout.rdbuf(sink.rdbuf());

    std::optional<Result<QString>> login;
    client.signIn(kUser, QStringLiteral("bench-password"), [&](const Result<QString> &r) { login = r; });
    spin([&]() { return login.has_value(); });
    if (!*login) {
        std::cout.rdbuf(console);
        std::fprintf(stderr, "sign-in failed: %s\n", qPrintable(login->error()));
        return 1;
    }
    client.setUsername(kUser);

    QElapsedTimer seedTimer;
    seedTimer.start();
    if (!seed(client)) {
        std::cout.rdbuf(console);
        std::fprintf(stderr, "seeding failed\n");
        return 1;
    }
    const double seedMs = double(seedTimer.nsecsElapsed()) / 1e6;

    std::vector<double> total, fetchMs, parseMs, storeMs;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer t;
        t.start();
        bool done = false;
        sync.syncAll([&]() { done = true; });
        spin([&]() { return done; });
        total.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    const qsizetype stored = phraseStore.getAllCount(kUser).toLongLong();

    // The same work in its three parts, each timed on its own.
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer t;
        t.start();
        const QByteArray classText = fetch(manager, settings, "/api/word/class/getAll");
        const QByteArray listText = fetch(manager, settings, "/api/word/list/getAll");
        fetchMs.push_back(double(t.nsecsElapsed()) / 1e6);

        t.restart();
        const QJsonArray items =
            httpform::parseJson(classText).value_or(QJsonValue())[QLatin1String("data")].toArray();
        QList<PhraseClass> classes;
        for (const QJsonValue &item : items)
            classes.append(PhraseClass(
                item[QLatin1String("id")].toInteger(), item[QLatin1String("sign")].toString(),
                item[QLatin1String("label")].toString(), item[QLatin1String("position")].toInteger(),
                item[QLatin1String("username")].toString()));
        const std::optional<PhraseListReply> phrases = PhraseListReply::fromText(listText);
        parseMs.push_back(double(t.nsecsElapsed()) / 1e6);

        t.restart();
        classStore.replaceAll(kUser, classes);
        phraseStore.replaceAll(kUser, phrases ? phrases->data : QList<Phrase>());
        storeMs.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    std::cout.rdbuf(console);

    std::printf("full cloudAll: %d classes, %d phrases, no pictures (%d runs, seeding took %.1f s)\n",
                kClasses, kPhrases, runs, seedMs / 1000.0);
    std::printf("  rows stored after sync: %lld phrases\n", static_cast<long long>(stored));
    std::printf("  end to end   median %8.1f ms   (target < 1000 ms: %s)\n", median(total),
                median(total) < 1000.0 ? "met" : "NOT met");
    std::printf("  fetch (HTTP) median %8.1f ms\n", median(fetchMs));
    std::printf("  parse (JSON) median %8.1f ms\n", median(parseMs));
    std::printf("  store (SQL)  median %8.1f ms\n", median(storeMs));
    return stored == kPhrases ? 0 : 1;
}
