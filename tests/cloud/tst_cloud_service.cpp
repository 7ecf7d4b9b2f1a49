// The cloud client against the real quillora-cloud on an ephemeral port: sign-in, version gate,
// library operations through the controllers, full synchronisation, picture upload, heartbeat.
#include "cloud/classoperations.h"
#include "cloud/cloudclient.h"
#include "cloud/imageutil.h"
#include "cloud/librarysync.h"
#include "cloud/phraseoperations.h"
#include "cloud/sessionheartbeat.h"
#include "cloud/uploadprocedure.h"
#include "cloud/versiongate.h"
#include "model/settings.h"
#include "store/appfileutil.h"
#include "store/classstore.h"
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"

#include "cloudservice.h"
#include "standardoutput.h"
#include "testenv.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <optional>

namespace {

// The password's enciphered form holds "+", "/" and "=": the form encoding must keep them.
const QString kUser = QStringLiteral("alice");
const QString kPassword = QStringLiteral("pwhaaaa");

QByteArray pngBytes(char seed) {
    QByteArray b("\x89PNG\r\n\x1a\n", 8);
    b += QByteArray(2048, seed);
    return b;
}

QString pictureContent(const QStringList &names) {
    QJsonArray items{QJsonObject{{"type", 1}, {"value", "看图"}}};
    for (const QString &n : names)
        items.append(QJsonObject{{"type", 2}, {"value", n}});
    return QString::fromUtf8(QJsonDocument(items).toJson(QJsonDocument::Compact));
}

} // namespace

class tst_cloud_service : public QObject {
    Q_OBJECT

    CloudService service;
    QStringList events;
    Settings settings_;
    CloudClient client_{settings_};
    LocalStore db_;
    PhraseStore phrases_{db_};
    ClassStore classes_{db_};
    PhraseOperations phraseOperations_{phrases_, client_, kUser};
    ClassOperations classOperations_{classes_, client_, kUser};

    template <typename Fn> Result<void> await(Fn start) {
        std::optional<Result<void>> result;
        start([&](const Result<void> &r) { result = r; });
        if (!QTest::qWaitFor([&]() { return result.has_value(); }, 30000))
            return Result<void>::failure(QStringLiteral("no completion"));
        return *result;
    }

    void signIn() {
        std::optional<Result<QString>> login;
        client_.signIn(kUser, kPassword, [&](const Result<QString> &r) { login = r; });
        QTRY_VERIFY_WITH_TIMEOUT(login.has_value(), 30000);
        QVERIFY2(login->isOk(), qPrintable(login->error()));
        client_.setUsername(login->value());
    }

    QStringList serviceClassLabels() {
        std::optional<Result<QList<PhraseClass>>> all;
        client_.fetchClasses(kUser, [&](const Result<QList<PhraseClass>> &r) { all = r; });
        if (!QTest::qWaitFor([&]() { return all.has_value(); }, 30000) || !*all)
            return {QStringLiteral("<fetch failed>")};
        QStringList labels;
        for (const PhraseClass &c : all->value())
            labels.append(c.label);
        return labels;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(service.start());
        QVERIFY(service.addUser(kUser, kPassword));
        qputenv("QUILLORA_SERVICE_URL", service.baseUrl().toUtf8());
        LocalPath::initDirs();
        QVERIFY(db_.open());
        connect(&classes_, &ClassStore::changed, this,
                [this] { events.append(QStringLiteral("class-change")); });
        connect(&phrases_, &PhraseStore::changed, this,
                [this] { events.append(QStringLiteral("list-change")); });
    }

    void versionGateAndSignIn() {
        std::optional<std::optional<QJsonValue>> version;
        client_.checkVersion([&](const std::optional<QJsonValue> &r) { version = r; });
        QTRY_VERIFY_WITH_TIMEOUT(version.has_value(), 30000);
        QCOMPARE(VersionGate::judge(*version).kind(), VersionGate::Kind::Ready);

        // A refused sign-in carries the service's own text.
        std::optional<Result<QString>> wrong;
        client_.signIn(kUser, QStringLiteral("not-the-password"),
                       [&](const Result<QString> &r) { wrong = r; });
        QTRY_VERIFY_WITH_TIMEOUT(wrong.has_value(), 30000);
        QVERIFY(!*wrong);
        QVERIFY(!wrong->error().isEmpty());
        QVERIFY(wrong->error() != QStringLiteral("网络连接失败:"));

        signIn();
        QCOMPARE(client_.username(), kUser);
        QVERIFY(!settings_.cookie().isEmpty());
    }

    void outdatedBuildIsSentToTheDownloadPage() {
        CloudService newer({QStringLiteral("--min-version"), QStringLiteral("2"),
                            QStringLiteral("--download-url"),
                            QStringLiteral("https://downloads.example.org/quillora")});
        QVERIFY(newer.start());
        qputenv("QUILLORA_SERVICE_URL", newer.baseUrl().toUtf8());
        std::optional<std::optional<QJsonValue>> version;
        client_.checkVersion([&](const std::optional<QJsonValue> &r) { version = r; });
        QTRY_VERIFY_WITH_TIMEOUT(version.has_value(), 30000);
        qputenv("QUILLORA_SERVICE_URL", service.baseUrl().toUtf8());
        const VersionGate gate = VersionGate::judge(*version);
        QCOMPARE(gate.kind(), VersionGate::Kind::UpdateRequired);
        QCOMPARE(gate.url(), QUrl(QStringLiteral("https://downloads.example.org/quillora")));
    }

    void heartbeatOfAValidSession() {
        StandardOutput out;
        SessionHeartbeat heartbeat(client_);
        QSignalSpy revoked(&heartbeat, &SessionHeartbeat::revoked);
        heartbeat.start();
        QTRY_VERIFY_WITH_TIMEOUT(out.soFar().contains(QStringLiteral("心跳结果 state = 1")), 30000);
        QCOMPARE(revoked.count(), 0);
    }

    void classOperationsReachTheStoreOnlyAfterTheService() {
        ClassStore &db = classes_;
        const qint64 before = db.getAll(kUser).size();

        events.clear();
        Result<void> r =
            await([this](OperationCallback cb) { classOperations_.create(QStringLiteral("售后"), cb); });
        QVERIFY2(r.isOk(), qPrintable(r.error()));
        QCOMPARE(events, QStringList{QStringLiteral("class-change")});
        r = await([this](OperationCallback cb) { classOperations_.create(QStringLiteral("物流"), cb); });
        QVERIFY(r.isOk());
        QList<PhraseClass> local = db.getAll(kUser);
        QCOMPARE(local.size(), before + 2);

        // A refused create (label far too long) stores nothing and reports the service's message.
        events.clear();
        r = await(
            [this](OperationCallback cb) { classOperations_.create(QString(5000, QLatin1Char('x')), cb); });
        QVERIFY(!r);
        QVERIFY(!r.error().isEmpty());
        QVERIFY(events.isEmpty());
        QCOMPARE(db.getAll(kUser).size(), before + 2);

        // Signs come from the service: the local rows match what the service lists.
        QStringList labels = serviceClassLabels();
        QVERIFY(labels.contains(QStringLiteral("售后")));
        QVERIFY(labels.contains(QStringLiteral("物流")));
        std::optional<PhraseClass> a, b;
        for (const PhraseClass &c : db.getAll(kUser)) {
            if (c.label == QStringLiteral("售后"))
                a = c;
            if (c.label == QStringLiteral("物流"))
                b = c;
        }
        QVERIFY(a && b);
        QVERIFY(a->sign.size() >= 16);

        events.clear();
        classOperations_.setLabel(a->sign, QStringLiteral("售后服务"));
        QTRY_COMPARE_WITH_TIMEOUT(events.size(), 1, 30000);
        QCOMPARE(db.getData(a->sign)->label, QStringLiteral("售后服务"));
        QVERIFY(serviceClassLabels().contains(QStringLiteral("售后服务")));

        events.clear();
        classOperations_.swapPositions(a->sign, b->sign);
        QTRY_COMPARE_WITH_TIMEOUT(events.size(), 1, 30000);
        QCOMPARE(db.getData(a->sign)->position, b->position);
        QCOMPARE(db.getData(b->sign)->position, a->position);

        // A rename the service refuses (unknown sign) changes nothing and notifies nobody.
        events.clear();
        classOperations_.setLabel(QStringLiteral("no-such-sign"), QStringLiteral("x"));
        classOperations_.remove(a->sign + QLatin1Char('|') + b->sign + QLatin1Char('|'));
        QTRY_COMPARE_WITH_TIMEOUT(events.size(), 1, 30000);
        QVERIFY(!db.getData(a->sign).has_value());
        QVERIFY(!db.getData(b->sign).has_value());
        labels = serviceClassLabels();
        QVERIFY(!labels.contains(QStringLiteral("售后服务")));
        QVERIFY(!labels.contains(QStringLiteral("物流")));
    }

    void phraseOperationsReachTheStoreOnlyAfterTheService() {
        ClassStore &classes = classes_;
        for (const char *label : {"甲", "乙"}) {
            const Result<void> r =
                await([&](OperationCallback cb) { classOperations_.create(QString::fromUtf8(label), cb); });
            QVERIFY(r.isOk());
        }
        QString c1, c2;
        for (const PhraseClass &c : classes.getAll(kUser)) {
            if (c.label == QStringLiteral("甲"))
                c1 = c.sign;
            if (c.label == QStringLiteral("乙"))
                c2 = c.sign;
        }
        QVERIFY(!c1.isEmpty() && !c2.isEmpty());

        PhraseStore &db = phrases_;
        const QString content = pictureContent({});
        events.clear();
        Result<void> r = await([&](OperationCallback cb) {
            phraseOperations_.create(c1, QStringLiteral("你好"), PhraseContent::fromJson(content), cb);
        });
        QVERIFY2(r.isOk(), qPrintable(r.error()));
        QCOMPARE(events, QStringList{QStringLiteral("list-change")});
        for (const char *label : {"再见", "稍等"})
            QVERIFY(await([&](OperationCallback cb) {
                        phraseOperations_.create(c1, QString::fromUtf8(label),
                                                 PhraseContent::fromJson(content), cb);
                    }).isOk());
        // Each class counts positions on its own.
        QVERIFY(await([&](OperationCallback cb) {
                    phraseOperations_.create(c2, QStringLiteral("别处"), PhraseContent::fromJson(content),
                                             cb);
                }).isOk());
        const QList<Phrase> inC1 = db.getAll(c1, kUser);
        QCOMPARE(inC1.size(), 3);
        QCOMPARE(db.getAll(c2, kUser).size(), 1);
        QCOMPARE(db.getAll(c2, kUser).at(0).position, db.getMaxPosition(QStringLiteral("never")));

        // Refused: an unknown class. Nothing stored, the service's text reported.
        const QString before = db.getAllCount(kUser);
        r = await([&](OperationCallback cb) {
            phraseOperations_.create(QStringLiteral("no-such-class"), QStringLiteral("x"),
                                     PhraseContent::fromJson(content), cb);
        });
        QVERIFY(!r);
        QVERIFY(!r.error().isEmpty());
        QCOMPARE(db.getAllCount(kUser), before);

        // Edit moves a phrase to the other class, with "+" "&" "=" in its text intact.
        const Phrase first = inC1.at(0);
        const QString edited = QStringLiteral("[{\"type\":1,\"value\":\"a+b&c=d 100%\"}]");
        r = await([&](OperationCallback cb) {
            phraseOperations_.updateValue(c2, first.sign, QStringLiteral("改"),
                                          PhraseContent::fromJson(edited), cb);
        });
        QVERIFY2(r.isOk(), qPrintable(r.error()));
        const Phrase moved = db.getData(first.sign).value();
        QCOMPARE(moved.parentSign, c2);
        QCOMPARE(moved.jsonValue, edited);

        const Phrase x = db.getData(inC1.at(1).sign).value();
        const Phrase y = db.getData(inC1.at(2).sign).value();
        events.clear();
        phraseOperations_.swapPositions(x.sign, y.sign);
        QTRY_COMPARE_WITH_TIMEOUT(events.size(), 1, 30000);
        QCOMPARE(db.getData(x.sign)->position, y.position);
        QCOMPARE(db.getData(y.sign)->position, x.position);

        events.clear();
        phraseOperations_.remove(x.sign + QLatin1Char('|') + moved.sign + QLatin1Char('|'));
        QTRY_COMPARE_WITH_TIMEOUT(events.size(), 1, 30000);
        QVERIFY(!db.getData(x.sign).has_value());
        QVERIFY(!db.getData(moved.sign).has_value());
    }

    void uploadProcedureSettlesEveryPicture() {
        const QByteArray one = pngBytes('a'), two = pngBytes('b');
        const QString n1 = ImageUtil::fileNameOf(one), n2 = ImageUtil::fileNameOf(two);
        QVERIFY(AppFileUtil::saveImage(one, n1));
        QVERIFY(AppFileUtil::saveImage(two, n2));

        UploadProcedure up(client_, {n1, n2});
        QCOMPARE(up.filenameArr(), (QStringList{n1, n2}));
        QSignalSpy labels(&up, &UploadProcedure::labelChanged);
        QSignalSpy progress(&up, &UploadProcedure::progressChanged);
        std::optional<Result<void>> result;
        connect(&up, &UploadProcedure::finished, this, [&](const Result<void> &r) { result = r; });
        up.start();
        QTRY_VERIFY_WITH_TIMEOUT(result.has_value(), 60000);
        QVERIFY2(result->isOk(), qPrintable(result->error()));
        QCOMPARE(labels.size(), 2);
        QVERIFY(labels.at(1).at(0).toString().contains(n2));
        QVERIFY(!progress.isEmpty());
        QCOMPARE(progress.last().at(0).toInt(), 100);

        // Known names are not sent again.
        UploadProcedure again(client_, {n1});
        QSignalSpy againProgress(&again, &UploadProcedure::progressChanged);
        result.reset();
        connect(&again, &UploadProcedure::finished, this, [&](const Result<void> &r) { result = r; });
        again.start();
        QTRY_VERIFY_WITH_TIMEOUT(result.has_value(), 60000);
        QVERIFY(result->isOk());
        QVERIFY(againProgress.isEmpty());

        // A name that does not belong to its bytes is refused; a missing file fails too. The first
        // failure is the one reported, and the good picture in between still goes up.
        const QByteArray three = pngBytes('c');
        const QString n3 = ImageUtil::fileNameOf(three);
        const QString wrongName = QStringLiteral("0123456789abcdef0123456789abcdef.png");
        QVERIFY(AppFileUtil::saveImage(pngBytes('d'), wrongName));
        QVERIFY(AppFileUtil::saveImage(three, n3));
        UploadProcedure bad(client_, {wrongName, n3, QStringLiteral("ffffffffffffffffffffffffffffffff.png")});
        result.reset();
        connect(&bad, &UploadProcedure::finished, this, [&](const Result<void> &r) { result = r; });
        bad.start();
        QTRY_VERIFY_WITH_TIMEOUT(result.has_value(), 60000);
        QVERIFY(!*result);
        QVERIFY(!result->error().isEmpty());
        QVERIFY(!result->error().startsWith(QStringLiteral("上传失败:")));
        std::optional<bool> known;
        client_.pictureExists(n3, [&](bool k) { known = k; });
        QTRY_VERIFY_WITH_TIMEOUT(known.has_value(), 30000);
        QVERIFY(*known);
    }

    void fullSynchronisationReplacesTheLibraryAndFetchesMissingPictures() {
        // On the service: one phrase with two pictures, both uploaded above.
        const QByteArray one = pngBytes('a'), two = pngBytes('b');
        const QString n1 = ImageUtil::fileNameOf(one), n2 = ImageUtil::fileNameOf(two);
        QString c;
        for (const PhraseClass &k : classes_.getAll(kUser))
            if (k.label == QStringLiteral("甲"))
                c = k.sign;
        QVERIFY(!c.isEmpty());
        QVERIFY(await([&](OperationCallback cb) {
                    phraseOperations_.create(c, QStringLiteral("图文"),
                                             PhraseContent::fromJson(pictureContent({n1, n2})), cb);
                }).isOk());

        // Locally: a stray class and phrase the service never had, and the second picture gone.
        QVERIFY(classes_.create(QStringLiteral("stray"), QStringLiteral("stray"), 99, kUser));
        QVERIFY(phrases_.create(c, QStringLiteral("stray-p"), QStringLiteral("p"),
                                PhraseContent::fromJson(QStringLiteral("[]")), 0, kUser));
        QVERIFY(QFile::remove(LocalPath::imageDir() + QLatin1Char('/') + n2));

        // Two views follow one synchronisation; the stages run in order: classes, phrases, pictures.
        LibrarySync sync(client_, classes_, phrases_, kUser);
        QStringList order, second;
        connect(&sync, &LibrarySync::syncStarted, this, [&] { order.append(QStringLiteral("start")); });
        connect(&sync, &LibrarySync::syncFinished, this, [&] {
            order.append(QStringLiteral("stop:") + (AppFileUtil::exist(n2) ? "picture" : "no picture"));
        });
        connect(&sync, &LibrarySync::syncFinished, this, [&] { second.append(QStringLiteral("stop")); });
        connect(&classes_, &ClassStore::changed, &sync, [&] { order.append(QStringLiteral("classes")); });
        connect(&phrases_, &PhraseStore::changed, &sync, [&] { order.append(QStringLiteral("phrases")); });
        StandardOutput out;
        bool done = false;
        sync.syncAll([&]() { done = true; });
        QTRY_VERIFY_WITH_TIMEOUT(done, 60000);
        const QString log = out.text();

        QCOMPARE(order, (QStringList{"start", "classes", "phrases", "stop:picture"}));
        QCOMPARE(second, QStringList{"stop"});
        QVERIFY(log.contains(QStringLiteral("==================同步完毕")));
        QVERIFY(log.contains(n1 + QStringLiteral(" - 无需下载")));
        QVERIFY(log.contains(QStringLiteral("============下载结果 ") + n2 + QStringLiteral("=>下载完毕")));
        QCOMPARE(AppFileUtil::readImage(n2).value_or(QByteArray()), two);

        QVERIFY(!classes_.getData(QStringLiteral("stray")).has_value());
        QVERIFY(!phrases_.getData(QStringLiteral("stray-p")).has_value());
        QStringList localLabels;
        for (const PhraseClass &k : classes_.getAll(kUser))
            localLabels.append(k.label);
        QStringList remote = serviceClassLabels();
        localLabels.sort();
        remote.sort();
        QCOMPARE(localLabels, remote);
    }

    // A password change ends every session of the account: the next check reports it.
    void revokedSessionIsReported() {
        QVERIFY(!settings_.cookie().isEmpty());
        QCOMPARE(service.run({QStringLiteral("passwd"), kUser}, "another-password\n"), 0);
        SessionHeartbeat heartbeat(client_);
        QSignalSpy revoked(&heartbeat, &SessionHeartbeat::revoked);
        heartbeat.start();
        QTRY_COMPARE_WITH_TIMEOUT(revoked.count(), 1, 30000);
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    tst_cloud_service test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_cloud_service.moc"
