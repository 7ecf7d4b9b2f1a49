#include "testenv.h"

#include "store/appfileutil.h"
#include "store/localpath.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTest>

class TestFiles : public QObject {
    Q_OBJECT

public:
    explicit TestFiles(const TestEnv &env) : env_(env) {}

private:
    const TestEnv &env_;

    // Every file below the data folder, relative to it.
    QStringList allFiles() const {
        QStringList files;
        QDir home(env_.home());
        const QStringList found =
            home.entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
        for (const QString &f : found)
            files << f;
        for (const char *dir : {"appData", "appData/image", "appData/database", "appData/temp"})
            for (const QString &f :
                 QDir(home.filePath(QLatin1String(dir)))
                     .entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name))
                files << QLatin1String(dir) + QLatin1Char('/') + f;
        return files;
    }

private Q_SLOTS:
    void folders() {
        QCOMPARE(LocalPath::imageDir(), env_.home() + QStringLiteral("/appData/image"));
        QCOMPARE(LocalPath::sqliteDir(), env_.home() + QStringLiteral("/appData/database"));
        QCOMPARE(LocalPath::tempDir(), env_.home() + QStringLiteral("/appData/temp"));
        QVERIFY(!QFileInfo::exists(LocalPath::imageDir()));

        LocalPath::initDirs();
        QVERIFY(QFileInfo(LocalPath::imageDir()).isDir());
        QVERIFY(QFileInfo(LocalPath::sqliteDir()).isDir());
        QVERIFY(QFileInfo(LocalPath::tempDir()).isDir());

        // A file in the way: no folder, and nothing else touched.
        QFile blocker(env_.home() + QStringLiteral("/file"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        LocalPath::createDir(env_.home() + QStringLiteral("/file/sub"));
        QVERIFY(QFileInfo(blocker.fileName()).isFile());
        QVERIFY(blocker.remove());
    }

    void images() {
        const QByteArray png("\x89PNG\r\n\x1a\n\x00 data", 14);
        QVERIFY(!AppFileUtil::exist(QStringLiteral("a.png")));
        QVERIFY(AppFileUtil::saveImage(png, QStringLiteral("a.png")));
        QVERIFY(AppFileUtil::exist(QStringLiteral("a.png")));
        QCOMPARE(*AppFileUtil::readImage(QStringLiteral("a.png")), png);
        QVERIFY(AppFileUtil::saveImage("short", QStringLiteral("a.png")));
        QCOMPARE(*AppFileUtil::readImage(QStringLiteral("a.png")), QByteArray("short"));
        QVERIFY(AppFileUtil::saveImage({}, QStringLiteral("empty.png")));
        QCOMPARE(*AppFileUtil::readImage(QStringLiteral("empty.png")), QByteArray());
        QVERIFY(!AppFileUtil::readImage(QStringLiteral("missing.png")));
    }

    void refusedNames_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << QString();
        QTest::newRow("dot") << QStringLiteral(".");
        QTest::newRow("dot dot") << QStringLiteral("..");
        QTest::newRow("slash") << QStringLiteral("a/b");
        QTest::newRow("climb") << QStringLiteral("../../escape.png");
        QTest::newRow("absolute") << QStringLiteral("/tmp/escape.png");
        QTest::newRow("nul") << QStringLiteral("a") + QChar(0) + QStringLiteral("b.png");
    }

    void refusedNames() {
        QFETCH(QString, name);
        const QStringList before = allFiles();
        QVERIFY(!AppFileUtil::saveImage("x", name));
        QVERIFY(!AppFileUtil::readImage(name));
        QVERIFY(!AppFileUtil::exist(name));
        QCOMPARE(allFiles(), before);
        QVERIFY(!QFileInfo::exists(QStringLiteral("/tmp/escape.png")));
        QVERIFY(!AppFileUtil::isPlainFileName(name));
    }

    void unusualButPlainNames() {
        for (const QString &name :
             {QStringLiteral("...png"), QStringLiteral("名字 with space.jpg"), QStringLiteral("a\\b.png")}) {
            QVERIFY(AppFileUtil::saveImage("x", name));
            QVERIFY(QFileInfo::exists(LocalPath::imageDir() + QLatin1Char('/') + name));
        }
    }

    void saveFailureIsReported() {
        QVERIFY(QDir(LocalPath::imageDir()).removeRecursively());
        QVERIFY(!AppFileUtil::saveImage("x", QStringLiteral("b.png")));
        QVERIFY(!AppFileUtil::exist(QStringLiteral("b.png")));
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    TestFiles test(env);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_files.moc"
