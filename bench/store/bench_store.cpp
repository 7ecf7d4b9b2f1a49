// Local database figures on a realistic library: labels and ~120-character texts of mixed Chinese and
// ASCII, a third of the phrases with one or two pictures. The database lives in a temporary folder.
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"

#include "realisticlibrary.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <iostream>
#include <optional>
#include <random>

namespace {

const QString user = QStringLiteral("bench");

// The one database of the run, opened by main().
LocalStore *database = nullptr;

// Keeps exactly `count` phrases in the table, all of the benchmark user.
void fillLibrary(int count) {
    static int filled = -1;
    if (filled == count)
        return;
    PhraseStore store(*database);
    database->connection()->exec("DELETE FROM word_list");
    if (!store.replaceAll(user, RealisticLibrary::phrases(count, user)))
        std::abort();
    filled = count;
}

void BM_CreateOne(benchmark::State &state) {
    PhraseStore store(*database);
    const QList<Phrase> rows = RealisticLibrary::phrases(1, user);
    int i = 0;
    for (auto _ : state) {
        const Phrase &r = rows.first();
        ++i;
        benchmark::DoNotOptimize(store.create(r.parentSign, QStringLiteral("one%1").arg(i), r.label,
                                              r.content, i, QStringLiteral("c")));
    }
    store.deleteAll(QStringLiteral("c"));
}

void BM_ReplaceAll(benchmark::State &state) {
    PhraseStore store(*database);
    const QList<Phrase> rows = RealisticLibrary::phrases(int(state.range(0)), user);
    for (auto _ : state)
        benchmark::DoNotOptimize(store.replaceAll(QStringLiteral("replace"), rows));
    store.deleteAll(QStringLiteral("replace"));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void likeBenchmark(benchmark::State &state, const QString &key) {
    fillLibrary(int(state.range(0)));
    PhraseStore store(*database);
    qsizetype found = 0;
    for (auto _ : state) {
        const QList<Phrase> rows = store.getLikeAll(key, user);
        found = rows.size();
        benchmark::DoNotOptimize(rows.constData());
    }
    state.counters["matches"] = double(found);
}

void BM_GetLikeAll_Common(benchmark::State &state) {
    likeBenchmark(state, QStringLiteral("退款"));
}

void BM_GetLikeAll_Rare(benchmark::State &state) {
    likeBenchmark(state, QStringLiteral("sorry顺丰"));
}

void BM_GetLikeAll_None(benchmark::State &state) {
    likeBenchmark(state, QStringLiteral("不存在的词"));
}

// The in-memory index: each iteration is one full scan, alternating two keys so that neither narrows
// from the other.
void BM_SearchIds_FullScan(benchmark::State &state) {
    fillLibrary(int(state.range(0)));
    PhraseStore store(*database);
    const QString keys[2] = {QStringLiteral("退款"), QStringLiteral("顺丰")};
    qsizetype found = 0;
    int turn = 0;
    for (auto _ : state) {
        const QList<qint64> ids = store.searchIds(keys[turn++ % 2], user);
        found = ids.size();
        benchmark::DoNotOptimize(ids.constData());
    }
    state.counters["matches"] = double(found);
}

// Typing "退" then "退款": the second keystroke narrows from the first one's hits.
void BM_SearchIds_Typing(benchmark::State &state) {
    fillLibrary(int(state.range(0)));
    PhraseStore store(*database);
    for (auto _ : state) {
        benchmark::DoNotOptimize(store.searchIds(QStringLiteral("退"), user).constData());
        benchmark::DoNotOptimize(store.searchIds(QStringLiteral("退款"), user).constData());
    }
}

// The bare scan of search, counting matches, on the store's connection (our LIKE, range(1) = 1) or on
// a second connection with the built-in LIKE (range(1) = 0): what the faster matcher is worth.
void BM_LikeScan(benchmark::State &state) {
    fillLibrary(int(state.range(0)));
    std::optional<SQLite::Database> plain;
    SQLite::Database *db = database->connection();
    if (state.range(1) == 0) {
        plain.emplace(database->path().toStdString(), SQLite::OPEN_READONLY);
        plain->exec("PRAGMA mmap_size=268435456");
        plain->exec("PRAGMA cache_size=-32768");
        db = &*plain;
    }
    SQLite::Statement scan(*db, "SELECT count(*) FROM word_list WHERE username = ?2 AND (label LIKE ?1 OR "
                                "texts LIKE ?1)");
    scan.bind(1, "%不存在的词%");
    scan.bind(2, user.toStdString());
    for (auto _ : state) {
        scan.reset();
        scan.executeStep();
        benchmark::DoNotOptimize(scan.getColumn(0).getInt());
    }
    state.SetLabel(state.range(1) ? "store LIKE" : "built-in LIKE");
}

void BM_GetImagenameAll(benchmark::State &state) {
    fillLibrary(int(state.range(0)));
    PhraseStore store(*database);
    qsizetype names = 0;
    for (auto _ : state) {
        const QStringList all = store.allPictureNames(user);
        names = all.size();
        benchmark::DoNotOptimize(all.constData());
    }
    state.counters["names"] = double(names);
}

} // namespace

BENCHMARK(BM_CreateOne)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ReplaceAll)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetLikeAll_Common)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetLikeAll_Rare)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetLikeAll_None)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SearchIds_FullScan)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SearchIds_Typing)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LikeScan)->Args({100000, 0})->Args({100000, 1})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetImagenameAll)->Arg(10000)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv) {
    QTemporaryDir home;
    qputenv("QUILLORA_HOME", home.path().toLocal8Bit());
    QCoreApplication app(argc, argv);
    // Log lines are dropped, so the figures are not those of the terminal.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    LocalPath::initDirs();
    LocalStore store;
    if (const Result<void> opened = store.open(); !opened) {
        std::cerr << opened.error().toStdString() << std::endl;
        return 1;
    }
    database = &store;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
