#include "coutcapture.h"
#include "testenv.h"

#include "store/classstore.h"
#include "store/localpath.h"
#include "store/phrasestore.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>
#include <SQLiteCpp/Database.h>

// The database folder does not exist at first: the store must report it, answer without a
// connection, and open on a later attempt once the folder is there.
class TestStoreOpen : public QObject {
    Q_OBJECT

    // made before the folder exists, as a long-lived shared store object would be
    ClassStore early_;

private Q_SLOTS:
    void missingFolder() {
        QVERIFY(!QFileInfo::exists(LocalPath::sqliteDir()));
        QVERIFY(!early_.getData(QStringLiteral("c")));
        CoutCapture out;
        PhraseStore phrases;
        ClassStore classes;
        QVERIFY(!LocalStore::connection());
        const QString error = LocalStore::openError();
        QVERIFY(error.contains(LocalPath::sqliteDir() + QStringLiteral("/database.sqlite3")));
        QVERIFY(error.contains(QStringLiteral("unable to open database file")));

        out.clear();
        QVERIFY(!phrases.create(QStringLiteral("p"), QStringLiteral("s"), QStringLiteral("l"),
                                QStringLiteral("[]"), 0, QStringLiteral("u")));
        QVERIFY(!classes.replaceAll(QStringLiteral("u"), {PhraseClass(0, QStringLiteral("c"))}));
        QVERIFY(out.text().startsWith(QStringLiteral("插入失败\n")));
        QVERIFY(!phrases.remove(QStringLiteral("s")));
        QVERIFY(!classes.setLabel(QStringLiteral("s"), QStringLiteral("x")));
        QCOMPARE(phrases.getAllCount(QStringLiteral("u")), QStringLiteral("---"));
        QCOMPARE(phrases.getMaxPosition(QStringLiteral("p")), 0);
        QVERIFY(phrases.getAll(QStringLiteral("p"), QStringLiteral("u")).isEmpty());
        QVERIFY(phrases.allPictureNames(QStringLiteral("u")).isEmpty());
        QVERIFY(!classes.getData(QStringLiteral("c")));
        QVERIFY(!out.text().contains(QStringLiteral("无法打开数据库"))); // reported once, not on every use
    }

    void notADatabase() {
        QVERIFY(QDir().mkpath(LocalPath::sqliteDir()));
        const QString path = LocalPath::sqliteDir() + QStringLiteral("/database.sqlite3");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(8192, 'x'));
        file.close();
        CoutCapture out;
        ClassStore classes;
        QVERIFY(!LocalStore::connection());
        QVERIFY(LocalStore::openError().contains(path));
        QVERIFY(out.text().contains(LocalStore::openError()));
        QVERIFY(!classes.create(QStringLiteral("c"), QStringLiteral("l"), 0, QStringLiteral("u")));
        QCOMPARE(QFileInfo(path).size(), 8192); // left as it was
        QVERIFY(file.remove());
    }

    void existingTablesAreKept() {
        {
            // a library left by an earlier run
            SQLite::Database db((LocalPath::sqliteDir() + QStringLiteral("/database.sqlite3")).toStdString(),
                                SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
            db.exec("CREATE TABLE word_class (id INTEGER PRIMARY KEY NOT NULL, sign TEXT NOT NULL, label "
                    "TEXT NOT "
                    "NULL, position INTEGER NOT NULL, username TEXT NOT NULL)");
            db.exec("INSERT INTO word_class (sign, label, position, username) VALUES ('c', '旧', 4, 'u')");
        }
        CoutCapture out;
        const QList<PhraseClass> rows = early_.getAll(QStringLiteral("u"));
        QVERIFY(LocalStore::connection());
        QVERIFY(LocalStore::openError().isEmpty());
        QCOMPARE(out.text(), QStringLiteral("创建表 TABLE_LAMP 成功\n创建表 TABLE_LAMP 成功\n"));
        ClassStore classes;
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows.first().label, QStringLiteral("旧"));
        QCOMPARE(classes.getMaxPosition(QStringLiteral("u")), 5);
        QVERIFY(PhraseStore().create(QStringLiteral("c"), QStringLiteral("s"), QStringLiteral("l"),
                                     QStringLiteral("[]"), 0, QStringLiteral("u")));
        QCOMPARE(PhraseStore().getCount(QStringLiteral("u"), QStringLiteral("c")), QStringLiteral("1"));
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    TestStoreOpen test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_store_open.moc"
