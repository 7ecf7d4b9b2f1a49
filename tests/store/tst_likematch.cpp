#include "store/likematch.h"

#include <QTest>
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <random>

// The store's LIKE must give exactly the built-in results; the reference is a plain connection.
class TestLikeMatch : public QObject {
    Q_OBJECT

    SQLite::Database reference{":memory:"};

    bool builtIn(const std::string &pattern, const std::string &text) {
        SQLite::Statement like(reference, "SELECT ?2 LIKE ?1");
        like.bind(1, pattern);
        like.bind(2, text);
        like.executeStep();
        return like.getColumn(0).getInt() != 0;
    }

private Q_SLOTS:
    void agreesWithBuiltIn_data() {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("text");
        QTest::newRow("word") << "%abc%"
                              << "xxABCxx";
        QTest::newRow("underscore") << "%a_c%"
                                    << "abc";
        QTest::newRow("underscore multibyte") << "%a_c%"
                                              << "a中c";
        QTest::newRow("percent in text") << "%50%%"
                                         << "HELLO 50% off";
        QTest::newRow("non-ascii case") << "%ärger%"
                                        << "Ärger";
        QTest::newRow("sharp s") << "%SS%"
                                 << "ß";
        QTest::newRow("empty word") << "%%"
                                    << "";
        QTest::newRow("anchored") << "abc"
                                  << "abcd";
        QTest::newRow("anchored end") << "%cd"
                                      << "abcd";
        QTest::newRow("emoji") << "%😀_%"
                               << "a😀😀";
        QTest::newRow("repeated prefix") << "%aab%"
                                         << "aaab";
        QTest::newRow("chinese") << "%退款%"
                                 << "请问退款多久到账";
        QTest::newRow("chinese miss") << "%退货%"
                                      << "请问退款多久到账";
        QTest::newRow("star backtrack") << "%a%b%c"
                                        << "aXbYbZc";
        QTest::newRow("only underscores") << "___"
                                          << "中文字";
        QTest::newRow("one short") << "____"
                                   << "中文字";
        QTest::newRow("backtrack whole characters") << "%__b%"
                                                    << "中bc";
        QTest::newRow("backtrack over emoji") << "%_%_b"
                                              << "😀b";
    }

    void agreesWithBuiltIn() {
        QFETCH(QString, pattern);
        QFETCH(QString, text);
        const std::string p = pattern.toStdString(), t = text.toStdString();
        QCOMPARE(likeMatch(p, t), builtIn(p, t));
    }

    // Random patterns and texts over letters of both cases, wildcards and multi-byte characters.
    void agreesOnRandomInput() {
        const char *const alphabet[] = {"a", "A", "b", "B", "%", "_", "中", "é", "É", "x", "😀"};
        std::mt19937 rng(7);
        auto make = [&](int maxLength, bool wildcards) {
            std::string s;
            const int length = std::uniform_int_distribution<int>(0, maxLength)(rng);
            for (int i = 0; i < length; ++i) {
                const char *c = alphabet[std::uniform_int_distribution<int>(0, 10)(rng)];
                if (!wildcards && (*c == '%' || *c == '_'))
                    c = "b";
                s += c;
            }
            return s;
        };
        int matched = 0;
        for (int i = 0; i < 4000; ++i) {
            std::string pattern = make(6, true);
            if (i % 2)
                pattern = "%" + make(3, i % 4 == 1) + "%";
            const std::string text = make(10, i % 3 == 0);
            const bool expected = builtIn(pattern, text);
            matched += expected;
            if (likeMatch(pattern, text) != expected)
                QFAIL(qPrintable(QStringLiteral("'%1' LIKE '%2' should be %3")
                                     .arg(QString::fromStdString(text), QString::fromStdString(pattern))
                                     .arg(expected)));
        }
        QVERIFY(matched > 400); // the inputs exercise both outcomes
        QVERIFY(matched < 3600);
    }

    // The installed function answers NULL for NULL operands and keeps working across rebinds.
    void installedOnConnection() {
        SQLite::Database db(":memory:");
        installLike(db.getHandle());
        SQLite::Statement like(db, "SELECT ?2 LIKE ?1");
        auto run = [&](const char *pattern, const char *text) {
            like.reset();
            like.clearBindings();
            if (pattern)
                like.bind(1, pattern);
            if (text)
                like.bind(2, text);
            like.executeStep();
            return like.getColumn(0).isNull() ? -1 : like.getColumn(0).getInt();
        };
        QCOMPARE(run("%B%", "abc"), 1);
        QCOMPARE(run("%d%", "abc"), 0);
        QCOMPARE(run("a_c", "abc"), 1);
        QCOMPARE(run(nullptr, "abc"), -1);
        QCOMPARE(run("%a%", nullptr), -1);
    }
};

QTEST_GUILESS_MAIN(TestLikeMatch)

#include "tst_likematch.moc"
