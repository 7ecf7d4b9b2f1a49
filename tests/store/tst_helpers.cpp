#include "model/pathops.h"
#include "store/base64ops.h"

#include <QTest>

class TestHelpers : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void paths_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QString>("dir");
        QTest::addColumn<QString>("filename");
        QTest::addColumn<QString>("plainFilename");
        QTest::addColumn<QString>("noExtension");
        QTest::newRow("full") << "/x/y.png"
                              << ".png"
                              << "/x/"
                              << "y.png"
                              << "y.png"
                              << "y";
        QTest::newRow("name only") << "y.png"
                                   << ".png"
                                   << ""
                                   << ""
                                   << "y.png"
                                   << "";
        QTest::newRow("dot in folder") << "a.b/c"
                                       << ".b/c"
                                       << "a.b/"
                                       << "c"
                                       << "c"
                                       << "c";
        QTest::newRow("two dots") << "/x/y.tar.gz"
                                  << ".gz"
                                  << "/x/"
                                  << "y.tar.gz"
                                  << "y.tar.gz"
                                  << "y.tar";
        QTest::newRow("no dot") << "/x/README"
                                << ""
                                << "/x/"
                                << "README"
                                << "README"
                                << "README";
        QTest::newRow("plain word") << "name"
                                    << ""
                                    << ""
                                    << ""
                                    << "name"
                                    << "";
        QTest::newRow("folder") << "/x/"
                                << ""
                                << "/x/"
                                << ""
                                << ""
                                << "";
        QTest::newRow("text run") << "10/20/30"
                                  << ""
                                  << "10/20/"
                                  << "30"
                                  << "30"
                                  << "30";
        QTest::newRow("hidden file") << "/h/.rc"
                                     << ".rc"
                                     << "/h/"
                                     << ".rc"
                                     << ".rc"
                                     << "";
        QTest::newRow("empty") << ""
                               << ""
                               << ""
                               << ""
                               << ""
                               << "";
    }

    void paths() {
        QFETCH(QString, path);
        QFETCH(QString, extension);
        QFETCH(QString, dir);
        QFETCH(QString, filename);
        QFETCH(QString, plainFilename);
        QFETCH(QString, noExtension);
        QCOMPARE(pathExtendName(path), extension);
        QCOMPARE(pathToDir(path), dir);
        QCOMPARE(pathToFilename(path), filename);
        QCOMPARE(toFilename(path), plainFilename);
        QCOMPARE(pathToFilenameNoEx(path), noExtension);
    }

    void base64RoundTrip() {
        for (const QString &s : {QString(), QStringLiteral("a"), QStringLiteral("ab"),
                                 QStringLiteral("您好 😀"), QString(300, QLatin1Char('x'))}) {
            const std::optional<QString> encoded = encodeBase64(s);
            QVERIFY(encoded);
            QVERIFY(!encoded->contains(QLatin1Char('\n')));
            QCOMPARE(decodeBase64(*encoded), s);
        }
        QCOMPARE(*encodeBase64(QStringLiteral("好")), QStringLiteral("5aW9"));
    }

    void base64IsStrict_data() {
        QTest::addColumn<QString>("input");
        QTest::newRow("line break") << "5aW9\n5aW9";
        QTest::newRow("trailing blank") << "5aW9 ";
        QTest::newRow("foreign character") << "5a*9";
        QTest::newRow("url alphabet") << "-_-_";
        QTest::newRow("missing padding") << "YQ";
        QTest::newRow("padding inside") << "YQ==YQ==";
        QTest::newRow("non-latin") << "5aW好";
    }

    void base64IsStrict() {
        QFETCH(QString, input);
        QVERIFY(!decodeBase64Data(input));
        QVERIFY(!decodeBase64(input));
    }

    void base64Bytes() {
        // bytes that are not UTF-8 decode as data but not as text
        const QString encoded = QStringLiteral("//4AQQ==");
        QCOMPARE(*decodeBase64Data(encoded), QByteArray("\xff\xfe\x00\x41", 4));
        QVERIFY(!decodeBase64(encoded));
        QCOMPARE(*decodeBase64Data(QString()), QByteArray());
    }
};

QTEST_GUILESS_MAIN(TestHelpers)

#include "tst_helpers.moc"
