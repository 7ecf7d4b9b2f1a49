#include "testenv.h"

#include "store/classstore.h"
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"

#include <QCoreApplication>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <SQLiteCpp/Database.h>
#include <random>

namespace {

QString images(std::initializer_list<const char *> names) {
    QString json = QStringLiteral("[");
    for (const char *name : names) {
        if (json.size() > 1)
            json += QLatin1Char(',');
        json += QStringLiteral("{\"type\":2,\"value\":\"%1\"}").arg(QString::fromUtf8(name));
    }
    return json + QLatin1Char(']');
}

QString text(const QString &t) {
    return QStringLiteral("[{\"type\":1,\"value\":\"%1\"}]").arg(t);
}

QStringList signsOf(const QList<Phrase> &rows) {
    QStringList signs;
    for (const Phrase &r : rows)
        signs << r.sign;
    return signs;
}

QStringList signsOf(const QList<PhraseClass> &rows) {
    QStringList signs;
    for (const PhraseClass &r : rows)
        signs << r.sign;
    return signs;
}

// A second connection to the same file, for what the store itself never does (triggers, schema).
SQLite::Database side() {
    return SQLite::Database(LocalStore::defaultPath().toStdString(), SQLite::OPEN_READWRITE);
}

} // namespace

class TestStore : public QObject {
    Q_OBJECT

    LocalStore db_;
    PhraseStore phrases_{db_};
    ClassStore classes_{db_};

private Q_SLOTS:
    void initTestCase() {
        LocalPath::initDirs();
        const Result<void> opened = db_.open();
        QVERIFY2(opened.isOk(), qPrintable(opened.error()));
    }

    void init() {
        classes_.deleteAll();
        SQLite::Database db = side();
        db.exec("DELETE FROM word_list");
    }

    // A missing folder or a file that is not a database: the failure names the file, the stores
    // answer empty and change nothing, and the file is left as it was.
    void openFailures() {
        QTemporaryDir dir;
        LocalStore missing(dir.filePath(QStringLiteral("no/such/folder/database.sqlite3")));
        const Result<void> notOpened = missing.open();
        QVERIFY(!notOpened);
        QVERIFY(notOpened.error().startsWith(QStringLiteral("无法打开数据库 ") + missing.path()));
        QVERIFY(notOpened.error().contains(QStringLiteral("unable to open database file")));
        PhraseStore phrases(missing);
        ClassStore classes(missing);
        QSignalSpy changed(&phrases, &PhraseStore::changed);
        QVERIFY(!phrases.create(QStringLiteral("p"), QStringLiteral("s"), QStringLiteral("l"),
                                PhraseContent::fromJson(QStringLiteral("[]")), 0, QStringLiteral("u")));
        QVERIFY(!classes.replaceAll(QStringLiteral("u"), {PhraseClass(0, QStringLiteral("c"))}));
        QVERIFY(!classes.setLabel(QStringLiteral("s"), QStringLiteral("x")));
        QCOMPARE(phrases.getAllCount(QStringLiteral("u")), QStringLiteral("---"));
        QCOMPARE(phrases.getMaxPosition(QStringLiteral("p")), 0);
        QVERIFY(phrases.allPictureNames(QStringLiteral("u")).isEmpty());
        QVERIFY(phrases.searchIds(QStringLiteral("x"), QStringLiteral("u")).isEmpty());
        QCOMPARE(changed.count(), 0);

        const QString junk = dir.filePath(QStringLiteral("junk.sqlite3"));
        QFile file(junk);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(8192, 'x'));
        file.close();
        LocalStore notADatabase(junk);
        const Result<void> refused = notADatabase.open();
        QVERIFY(!refused);
        QVERIFY(refused.error().contains(junk));
        QVERIFY(!ClassStore(notADatabase)
                     .create(QStringLiteral("c"), QStringLiteral("l"), 0, QStringLiteral("u")));
        QCOMPARE(QFileInfo(junk).size(), 8192);
    }

    void existingTablesAreKept() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("database.sqlite3"));
        {
            // a library left by an earlier run
            SQLite::Database db(path.toStdString(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
            db.exec("CREATE TABLE word_class (id INTEGER PRIMARY KEY NOT NULL, sign TEXT NOT NULL, label "
                    "TEXT NOT NULL, position INTEGER NOT NULL, username TEXT NOT NULL)");
            db.exec("INSERT INTO word_class (sign, label, position, username) VALUES ('c', '旧', 4, 'u')");
        }
        LocalStore store(path);
        QVERIFY(store.open());
        ClassStore classes(store);
        QCOMPARE(classes.getAll(QStringLiteral("u")).value(0).label, QStringLiteral("旧"));
        QCOMPARE(classes.getMaxPosition(QStringLiteral("u")), 5);
        PhraseStore phrases(store);
        QVERIFY(phrases.create(QStringLiteral("c"), QStringLiteral("s"), QStringLiteral("l"),
                               PhraseContent::fromJson(QStringLiteral("[]")), 0, QStringLiteral("u")));
        QCOMPARE(phrases.getCount(QStringLiteral("u"), QStringLiteral("c")), QStringLiteral("1"));
    }

    // Views reload on changed(): every write that changed a row tells them, once; a write that
    // changed nothing does not.
    void changesAreAnnounced() {
        QSignalSpy classChanges(&classes_, &ClassStore::changed);
        QSignalSpy phraseChanges(&phrases_, &PhraseStore::changed);
        QVERIFY(classes_.create(QStringLiteral("a"), QStringLiteral("A"), 0, QStringLiteral("u")));
        QVERIFY(classes_.create(QStringLiteral("b"), QStringLiteral("B"), 1, QStringLiteral("u")));
        QCOMPARE(classChanges.count(), 2);
        QVERIFY(classes_.swapPositions(QStringLiteral("a"), QStringLiteral("b")));
        QCOMPARE(classChanges.count(), 3);
        QCOMPARE(signsOf(classes_.getAll(QStringLiteral("u"))), QStringList({"b", "a"}));
        QVERIFY(!classes_.swapPositions(QStringLiteral("a"), QStringLiteral("nope")));
        QVERIFY(!classes_.setLabel(QStringLiteral("nope"), QStringLiteral("x")));
        QCOMPARE(classChanges.count(), 3);
        classes_.removeSigns(QStringLiteral("a|b|"));
        QCOMPARE(classChanges.count(), 4);
        QVERIFY(classes_.getAll(QStringLiteral("u")).isEmpty());

        QVERIFY(phrases_.replaceAll(QStringLiteral("u"), {}));
        QVERIFY(phrases_.create(QStringLiteral("p"), QStringLiteral("s"), QStringLiteral("l"),
                                PhraseContent::fromJson(text("t")), 0, QStringLiteral("u")));
        QVERIFY(!phrases_.remove(QStringLiteral("nope")));
        QCOMPARE(phraseChanges.count(), 2);
        QCOMPARE(classChanges.count(), 4);
    }

    void schema() {
        SQLite::Database db = side();
        SQLite::Statement tables(db, "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name");
        QStringList names;
        while (tables.executeStep())
            names << QString::fromStdString(tables.getColumn(0).getString());
        QCOMPARE(names, QStringList({QStringLiteral("Word_list"), QStringLiteral("word_class")}));

        auto columns = [&](const char *table) {
            SQLite::Statement info(db, std::string("PRAGMA table_info(") + table + ")");
            QStringList cols;
            while (info.executeStep())
                cols << QString::fromStdString(
                    info.getColumn(1).getString() + " " + info.getColumn(2).getString() +
                    (info.getColumn(3).getInt() ? " NN" : "") + (info.getColumn(5).getInt() ? " PK" : ""));
            return cols.join(QLatin1Char(','));
        };
        QCOMPARE(columns("word_class"),
                 QStringLiteral(
                     "id INTEGER NN PK,sign TEXT NN,label TEXT NN,position INTEGER NN,username TEXT NN"));
        QCOMPARE(columns("word_list"),
                 QStringLiteral("id INTEGER NN PK,parentSign TEXT NN,sign TEXT NN,label TEXT "
                                "NN,texts TEXT NN,images TEXT NN,jsonValue TEXT "
                                "NN,position INTEGER NN,username TEXT NN"));
        SQLite::Statement indexes(db, "SELECT count(*) FROM sqlite_master WHERE type = 'index'");
        QVERIFY(indexes.executeStep());
        QCOMPARE(indexes.getColumn(0).getInt(), 0);
    }

    void classOperations() {
        ClassStore &store = classes_;
        QCOMPARE(store.getMaxPosition(QStringLiteral("u")), 0);

        QVERIFY(store.create(QStringLiteral("c2"), QStringLiteral("售后"), 2, QStringLiteral("u")));
        const qint64 id = db_.connection()->getLastInsertRowid();
        QVERIFY(store.create(QStringLiteral("c0"), QStringLiteral("问候 hello"), 0, QStringLiteral("u")));
        QVERIFY(store.create(QStringLiteral("c1"), QStringLiteral("退款"), 1, QStringLiteral("u")));
        QVERIFY(store.create(QStringLiteral("x0"), QStringLiteral("other"), 7, QStringLiteral("v")));

        QCOMPARE(signsOf(store.getAll(QStringLiteral("u"))), QStringList({"c0", "c1", "c2"}));
        QCOMPARE(store.getMaxPosition(QStringLiteral("u")), 3);
        QCOMPARE(store.getMaxPosition(QStringLiteral("v")), 8);

        const std::optional<PhraseClass> c2 = store.getData(QStringLiteral("c2"));
        QVERIFY(c2);
        QCOMPARE(*c2, PhraseClass(id, QStringLiteral("c2"), QStringLiteral("售后"), 2, QStringLiteral("u")));
        QVERIFY(!store.getData(QStringLiteral("nope")));

        QVERIFY(store.setLabel(QStringLiteral("c2"), QStringLiteral("售后 2")));
        QVERIFY(!store.setLabel(QStringLiteral("nope"), QStringLiteral("x")));
        QVERIFY(store.setPosition(QStringLiteral("c2"), -1));
        QVERIFY(!store.setPosition(QStringLiteral("nope"), 4));
        QCOMPARE(signsOf(store.getAll(QStringLiteral("u"))), QStringList({"c2", "c0", "c1"}));
        QCOMPARE(store.getData(QStringLiteral("c2"))->label, QStringLiteral("售后 2"));

        QVERIFY(store.remove(QStringLiteral("c1")));
        QVERIFY(!store.remove(QStringLiteral("c1")));

        QVERIFY(store.deleteAll(QStringLiteral("u")));
        QVERIFY(store.getAll(QStringLiteral("u")).isEmpty());
        QCOMPARE(store.getAll(QStringLiteral("v")).size(), 1);
        QVERIFY(!store.deleteAll(QStringLiteral("u")));
        QVERIFY(store.deleteAll());
        QVERIFY(store.getAll(QStringLiteral("v")).isEmpty());
    }

    void classSearch() {
        ClassStore &store = classes_;
        store.create(QStringLiteral("a"), QStringLiteral("abc"), 2, QStringLiteral("u"));
        store.create(QStringLiteral("b"), QStringLiteral("ABC 大"), 1, QStringLiteral("u"));
        store.create(QStringLiteral("c"), QStringLiteral("a%c"), 0, QStringLiteral("u"));
        store.create(QStringLiteral("d"), QStringLiteral("abc"), 0, QStringLiteral("v"));
        // table order, not position order; other users never show
        QCOMPARE(signsOf(store.getLikeAll(QStringLiteral("abc"), QStringLiteral("u"))),
                 QStringList({"a", "b"}));
        QCOMPARE(signsOf(store.getLikeAll(QStringLiteral("a_c"), QStringLiteral("u"))),
                 QStringList({"a", "b", "c"}));
        QCOMPARE(signsOf(store.getLikeAll(QStringLiteral("%"), QStringLiteral("u"))),
                 QStringList({"a", "b", "c"}));
        QCOMPARE(signsOf(store.getLikeAll(QStringLiteral("大"), QStringLiteral("u"))), QStringList({"b"}));
        QCOMPARE(signsOf(store.getLikeAll(QString(), QStringLiteral("u"))), QStringList({"a", "b", "c"}));
    }

    void phraseOperations() {
        PhraseStore &store = phrases_;
        QCOMPARE(store.getMaxPosition(QStringLiteral("p")), 0);
        QCOMPARE(store.getAllCount(QStringLiteral("u")), QStringLiteral("0"));
        QCOMPARE(store.getCount(QStringLiteral("u"), QStringLiteral("p")), QStringLiteral("0"));

        const QString content =
            QStringLiteral("[{\"type\":1,\"value\":\"您好，\"},{\"type\":2,\"value\":\"a1.png\"},{\"type\":1,"
                           "\"value\":\"稍等\"},"
                           "{\"type\":2,\"value\":\"a1.png\"},{\"type\":2,\"value\":\"b2.jpg\"}]");
        QVERIFY(store.create(QStringLiteral("p"), QStringLiteral("s1"), QStringLiteral("问候"),
                             PhraseContent::fromJson(content), 1, QStringLiteral("u")));
        QVERIFY(store.create(QStringLiteral("p"), QStringLiteral("s0"), QStringLiteral("first"),
                             PhraseContent::fromJson(QStringLiteral("bad")), 0, QStringLiteral("u")));
        QVERIFY(store.create(QStringLiteral("q"), QStringLiteral("s2"), QStringLiteral("other class"),
                             PhraseContent::fromJson(text("x")), 0, QStringLiteral("u")));
        QVERIFY(store.create(QStringLiteral("p"), QStringLiteral("s3"), QStringLiteral("other user"),
                             PhraseContent::fromJson(text("x")), 5, QStringLiteral("v")));

        const std::optional<Phrase> s1 = store.getData(QStringLiteral("s1"));
        QVERIFY(s1);
        QCOMPARE(s1->parentSign, QStringLiteral("p"));
        QCOMPARE(s1->label, QStringLiteral("问候"));
        QCOMPARE(s1->jsonValue, content);
        QCOMPARE(s1->texts, QStringLiteral("您好，稍等"));
        QCOMPARE(s1->images, QStringLiteral("a1.png|b2.jpg|"));
        QCOMPARE(s1->position, 1);
        QCOMPARE(s1->username, QStringLiteral("u"));
        QVERIFY(s1->id > 0);
        QCOMPARE(store.getData(QStringLiteral("s0"))->texts, QString());
        QCOMPARE(store.getData(QStringLiteral("s0"))->images, QString());

        QCOMPARE(signsOf(store.getAll(QStringLiteral("p"), QStringLiteral("u"))), QStringList({"s0", "s1"}));
        QCOMPARE(store.getAllCount(QStringLiteral("u")), QStringLiteral("3"));
        QCOMPARE(store.getCount(QStringLiteral("u"), QStringLiteral("p")), QStringLiteral("2"));
        // the next position of a class counts every user's phrases in it
        QCOMPARE(store.getMaxPosition(QStringLiteral("p")), 6);

        QVERIFY(store.setValue(QStringLiteral("q"), QStringLiteral("s1"), QStringLiteral("新"),
                               PhraseContent::fromJson(images({"c.gif"}))));
        QVERIFY(!store.setValue(QStringLiteral("q"), QStringLiteral("nope"), QStringLiteral("新"),
                                PhraseContent::fromJson(text("t"))));
        QVERIFY(store.setPosition(QStringLiteral("s1"), 9));
        const Phrase moved = *store.getData(QStringLiteral("s1"));
        QCOMPARE(moved.parentSign, QStringLiteral("q"));
        QCOMPARE(moved.texts, QString());
        QCOMPARE(moved.images, QStringLiteral("c.gif|"));
        QCOMPARE(signsOf(store.getAll(QStringLiteral("q"), QStringLiteral("u"))), QStringList({"s2", "s1"}));

        QVERIFY(!store.remove(QStringLiteral("nope")));
        QVERIFY(store.remove(QStringLiteral("s2")));
        QVERIFY(store.deleteAll(QStringLiteral("u")));
        QCOMPARE(store.getAllCount(QStringLiteral("u")), QStringLiteral("0"));
        QCOMPARE(store.getAllCount(QStringLiteral("v")), QStringLiteral("1"));
    }

    void phraseSearch() {
        PhraseStore &store = phrases_;
        store.create(QStringLiteral("p"), QStringLiteral("a"), QStringLiteral("Refund"),
                     PhraseContent::fromJson(text(QStringLiteral("请稍等"))), 3, QStringLiteral("u"));
        store.create(QStringLiteral("p"), QStringLiteral("b"), QStringLiteral("问候"),
                     PhraseContent::fromJson(text(QStringLiteral("HELLO 50% off"))), 2, QStringLiteral("u"));
        store.create(QStringLiteral("p"), QStringLiteral("c"), QStringLiteral("Ärger"),
                     PhraseContent::fromJson(images({"refund.png"})), 1, QStringLiteral("u"));
        store.create(QStringLiteral("p"), QStringLiteral("d"), QStringLiteral("refund"),
                     PhraseContent::fromJson(text(QString())), 0, QStringLiteral("v"));
        auto like = [&](const QString &key) { return signsOf(store.getLikeAll(key, QStringLiteral("u"))); };
        QCOMPARE(like(QStringLiteral("REFUND")), QStringList({"a"})); // picture names are not searched
        QCOMPARE(like(QStringLiteral("hello")), QStringList({"b"}));
        QCOMPARE(like(QStringLiteral("稍")), QStringList({"a"}));
        QCOMPARE(like(QStringLiteral("ärger")), QStringList()); // case folding is ASCII only
        QCOMPARE(like(QStringLiteral("Ärger")), QStringList({"c"}));
        QCOMPARE(like(QStringLiteral("0%o")), QStringList({"b"}));
        QCOMPARE(like(QStringLiteral("R_f")), QStringList({"a"}));
        QCOMPARE(like(QStringLiteral("_")), QStringList({"a", "b", "c"}));
        QCOMPARE(like(QStringLiteral("x'); DROP TABLE word_list; --")), QStringList());
        QCOMPARE(store.getAllCount(QStringLiteral("u")), QStringLiteral("3"));
    }

    // The in-memory search must answer exactly what the database answers, in the same order, through
    // every kind of write: single rows, bulk replaces, a replace rolled back, another connection.
    void searchIndexAgreesWithDatabase() {
        PhraseStore &store = phrases_;
        std::mt19937 random(7);
        const QStringList words{"Refund", "refund", "退款", "发票", "Hello", "ärger", "50%", "a_b", "X"};
        auto phrase = [&] {
            QString label, body;
            for (int w = 0; w < 3; ++w) {
                label += words[random() % words.size()];
                body += words[random() % words.size()] + QLatin1Char(' ');
            }
            return std::pair{label, text(body)};
        };
        const QStringList users{"u", "v"};
        auto agree = [&](const char *step) {
            for (const QString &key : QStringList{"", "refund", "REFUND", "Ref", "退", "退款", "款发",
                                                  "ärger", "ÄRGER", "%", "a_b", "50", "x", "no such words"})
                for (const QString &user : users) {
                    QList<qint64> expected;
                    for (const Phrase &p : store.getLikeAll(key, user))
                        expected << p.id;
                    if (store.searchIds(key, user) != expected)
                        QFAIL(qPrintable(QStringLiteral("%1: key \"%2\" user %3").arg(step, key, user)));
                }
        };
        for (int i = 0; i < 120; ++i) {
            const auto [label, content] = phrase();
            store.create(QStringLiteral("p"), QStringLiteral("s%1").arg(i), label,
                         PhraseContent::fromJson(content), i, users[i % 2]);
        }
        agree("created");
        for (int i = 0; i < 120; i += 7) {
            const auto [label, content] = phrase();
            store.setValue(QStringLiteral("p"), QStringLiteral("s%1").arg(i), label,
                           PhraseContent::fromJson(content));
            store.remove(QStringLiteral("s%1").arg(i + 3));
        }
        agree("edited and removed");
        // narrowing: each key extends the one before
        for (const QString &key : QStringList{"r", "re", "ref", "refu", "refund"})
            agree(qPrintable(key));

        QList<Phrase> rows;
        for (int i = 0; i < 40; ++i) {
            Phrase row;
            row.parentSign = QStringLiteral("p");
            row.sign = QStringLiteral("r%1").arg(i);
            const auto [label, json] = phrase();
            row.label = label;
            row.setJsonValue(json);
            rows << row;
        }
        QVERIFY(store.replaceAll(QStringLiteral("u"), rows));
        agree("replaced");
        {
            SQLite::Database db = side();
            db.exec("CREATE TRIGGER refuse_late BEFORE INSERT ON word_list WHEN NEW.sign = 'r30' "
                    "BEGIN SELECT RAISE(ABORT, 'refused row'); END");
        }
        QVERIFY(!store.replaceAll(QStringLiteral("v"), rows));
        agree("replace rolled back");
        side().exec("DROP TRIGGER refuse_late");
        side().exec("DELETE FROM word_list WHERE id % 3 = 0");
        agree("another connection wrote");
    }

    void imageNames() {
        PhraseStore &store = phrases_;
        store.create(QStringLiteral("p"), QStringLiteral("1"), QStringLiteral("l"),
                     PhraseContent::fromJson(images({"a1.png", "b2.png"})), 0, QStringLiteral("u"));
        store.create(QStringLiteral("p"), QStringLiteral("2"), QStringLiteral("l"),
                     PhraseContent::fromJson(text(QStringLiteral("t"))), 1, QStringLiteral("u"));
        store.create(QStringLiteral("p"), QStringLiteral("3"), QStringLiteral("l"),
                     PhraseContent::fromJson(images({"ab", "b2.png", "c3.png"})), 2, QStringLiteral("u"));
        store.create(QStringLiteral("p"), QStringLiteral("4"), QStringLiteral("l"),
                     PhraseContent::fromJson(images({"z9.png"})), 3, QStringLiteral("v"));
        QCOMPARE(store.allPictureNames(QStringLiteral("u")), QStringList({"a1.png", "b2.png", "c3.png"}));
        QCOMPARE(store.allPictureNames(QStringLiteral("w")), QStringList());
    }

    void replaceAllIsAtomic() {
        PhraseStore &phrases = phrases_;
        ClassStore &classes = classes_;
        phrases.create(QStringLiteral("p"), QStringLiteral("old1"), QStringLiteral("l"),
                       PhraseContent::fromJson(text("a")), 0, QStringLiteral("u"));
        phrases.create(QStringLiteral("p"), QStringLiteral("old2"), QStringLiteral("l"),
                       PhraseContent::fromJson(text("b")), 1, QStringLiteral("u"));
        phrases.create(QStringLiteral("p"), QStringLiteral("keep"), QStringLiteral("l"),
                       PhraseContent::fromJson(text("c")), 0, QStringLiteral("v"));
        classes.create(QStringLiteral("oldc"), QStringLiteral("l"), 0, QStringLiteral("u"));
        classes.create(QStringLiteral("keepc"), QStringLiteral("l"), 0, QStringLiteral("v"));

        QList<Phrase> rows;
        QList<PhraseClass> classRows;
        for (int i = 0; i < 50; ++i) {
            Phrase row;
            row.parentSign = QStringLiteral("p");
            row.sign = i == 25 ? QStringLiteral("bad") : QStringLiteral("new%1").arg(i);
            row.label = QStringLiteral("L%1").arg(i);
            row.setJsonValue(
                QStringLiteral("[{\"type\":1,\"value\":\"t%1\"},{\"type\":2,\"value\":\"i%1.png\"}]").arg(i));
            row.texts = QStringLiteral("ignored");
            row.position = 49 - i;
            row.username = QStringLiteral("someone else");
            rows << row;
            classRows << PhraseClass(0, row.sign, row.label, i, QStringLiteral("someone else"));
        }
        {
            SQLite::Database db = side();
            db.exec("CREATE TRIGGER refuse_list BEFORE INSERT ON word_list WHEN NEW.sign = 'bad' "
                    "BEGIN SELECT RAISE(ABORT, 'refused row'); END");
            db.exec("CREATE TRIGGER refuse_class BEFORE INSERT ON word_class WHEN NEW.sign = 'bad' "
                    "BEGIN SELECT RAISE(ABORT, 'refused row'); END");
        }
        QVERIFY(!phrases.replaceAll(QStringLiteral("u"), rows));
        QVERIFY(!classes.replaceAll(QStringLiteral("u"), classRows));
        QCOMPARE(signsOf(phrases.getAll(QStringLiteral("p"), QStringLiteral("u"))),
                 QStringList({"old1", "old2"}));
        QCOMPARE(signsOf(classes.getAll(QStringLiteral("u"))), QStringList({"oldc"}));

        // a failing single insert reports false, the connection stays usable
        QVERIFY(!classes.create(QStringLiteral("bad"), QStringLiteral("l"), 0, QStringLiteral("u")));
        {
            SQLite::Database db = side();
            db.exec("DROP TRIGGER refuse_list");
            db.exec("DROP TRIGGER refuse_class");
        }

        QVERIFY(phrases.replaceAll(QStringLiteral("u"), rows));
        QVERIFY(classes.replaceAll(QStringLiteral("u"), classRows));
        const QList<Phrase> stored = phrases.getAll(QStringLiteral("p"), QStringLiteral("u"));
        QCOMPARE(stored.size(), 50);
        QCOMPARE(stored.first().sign, QStringLiteral("new49"));
        QCOMPARE(stored.first().texts, QStringLiteral("t49"));
        QCOMPARE(stored.first().images, QStringLiteral("i49.png|"));
        QCOMPARE(stored.first().username, QStringLiteral("u"));
        QCOMPARE(classes.getAll(QStringLiteral("u")).size(), 50);
        QCOMPARE(classes.getAll(QStringLiteral("u")).first().username, QStringLiteral("u"));
        QCOMPARE(signsOf(phrases.getAll(QStringLiteral("p"), QStringLiteral("v"))), QStringList({"keep"}));
        QCOMPARE(signsOf(classes.getAll(QStringLiteral("v"))), QStringList({"keepc"}));

        QVERIFY(phrases.replaceAll(QStringLiteral("u"), {}));
        QCOMPARE(phrases.getAllCount(QStringLiteral("u")), QStringLiteral("0"));
        QCOMPARE(phrases.getAllCount(QStringLiteral("v")), QStringLiteral("1"));
    }

    void textRoundTrip() {
        PhraseStore &store = phrases_;
        const QString label = QStringLiteral("emoji 😀 \"quote\" 'single' \\ 中文");
        QVERIFY(store.create(QStringLiteral("p"), QStringLiteral("r"), label,
                             PhraseContent::fromJson(text(QStringLiteral("line\\nnext"))), 0,
                             QStringLiteral("u")));
        const Phrase r = *store.getData(QStringLiteral("r"));
        QCOMPARE(r.label, label);
        QCOMPARE(r.texts, QStringLiteral("line\nnext"));
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    TestStore test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_store.moc"
