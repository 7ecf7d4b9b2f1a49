#include "coutcapture.h"
#include "testenv.h"

#include "store/db_word_class.h"
#include "store/db_word_list.h"
#include "store/localpath.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>
#include <SQLiteCpp/Database.h>

// The database folder does not exist at first: the store must report it, answer without a
// connection, and open on a later attempt once the folder is there.
class TestStoreOpen : public QObject {
    Q_OBJECT

    // made before the folder exists, as a long-lived shared store object would be
    db_word_class early_;

private Q_SLOTS:
    void missingFolder() {
        QVERIFY(!QFileInfo::exists(LocalPath::sqliteDir()));
        QVERIFY(!early_.getData(QStringLiteral("c")));
        CoutCapture out;
        db_word_list phrases;
        db_word_class classes;
        QVERIFY(!db_base::connection());
        const QString error = db_base::openError();
        QVERIFY(error.contains(LocalPath::sqliteDir() + QStringLiteral("/database.sqlite3")));
        QVERIFY(error.contains(QStringLiteral("unable to open database file")));

        out.clear();
        QVERIFY(!phrases.create(QStringLiteral("p"), QStringLiteral("s"), QStringLiteral("l"),
                                QStringLiteral("[]"), 0, QStringLiteral("u")));
        QVERIFY(!classes.replaceAll(QStringLiteral("u"), {DataWordClass(0, QStringLiteral("c"))}));
        QVERIFY(out.text().startsWith(QStringLiteral("插入失败\n")));
        QVERIFY(!phrases.delete_(QStringLiteral("s")));
        QVERIFY(!classes.setLabel(QStringLiteral("s"), QStringLiteral("x")));
        QCOMPARE(phrases.getAllCount(QStringLiteral("u")), QStringLiteral("---"));
        QCOMPARE(phrases.getMaxPosition(QStringLiteral("p")), 0);
        QVERIFY(phrases.getAll(QStringLiteral("p"), QStringLiteral("u")).isEmpty());
        QVERIFY(phrases.getImagenameAll(QStringLiteral("u")).isEmpty());
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
        db_word_class classes;
        QVERIFY(!db_base::connection());
        QVERIFY(db_base::openError().contains(path));
        QVERIFY(out.text().contains(db_base::openError()));
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
        const QList<DataWordClass> rows = early_.getAll(QStringLiteral("u"));
        QVERIFY(db_base::connection());
        QVERIFY(db_base::openError().isEmpty());
        QCOMPARE(out.text(), QStringLiteral("创建表 TABLE_LAMP 成功\n创建表 TABLE_LAMP 成功\n"));
        db_word_class classes;
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows.first().label, QStringLiteral("旧"));
        QCOMPARE(classes.getMaxPosition(QStringLiteral("u")), 5);
        QVERIFY(db_word_list().create(QStringLiteral("c"), QStringLiteral("s"), QStringLiteral("l"),
                                      QStringLiteral("[]"), 0, QStringLiteral("u")));
        QCOMPARE(db_word_list().getCount(QStringLiteral("u"), QStringLiteral("c")), QStringLiteral("1"));
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    TestStoreOpen test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_store_open.moc"
