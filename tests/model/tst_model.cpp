#include "testenv.h"

#include "model/phrase.h"
#include "model/phraseclass.h"
#include "model/phrasecontent.h"
#include "model/phraselistreply.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QTest>
#include <iostream>
#include <sstream>

namespace {

using Kind = PhraseContent::Piece::Kind;

PhraseContent::Piece t(const QString &v) {
    return {Kind::Text, v};
}
PhraseContent::Piece img(const QString &v) {
    return {Kind::Picture, v};
}

// "1:ab 2:x.png" - a readable picture of the pieces for comparisons.
QString describe(const PhraseContent &content) {
    QStringList parts;
    for (const PhraseContent::Piece &piece : content.pieces())
        parts << QStringLiteral("%1:%2").arg(piece.isText() ? 1 : 2).arg(piece.value);
    return parts.join(QLatin1Char(' '));
}

// JSON written with single quotes for readability.
QString js(const char *text) {
    return QString::fromUtf8(text).replace(QLatin1Char('\''), QLatin1Char('"'));
}
QByteArray jb(const char *text) {
    return js(text).toUtf8();
}

} // namespace

class TestModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void normalisingMergesTexts() {
        const PhraseContent content({t(QStringLiteral("a")), t(QString()), t(QStringLiteral("b")),
                                     img(QStringLiteral("x.png")), t(QStringLiteral("c"))});
        QCOMPARE(describe(content.normalized()), QStringLiteral("1:ab 2:x.png 1:c"));
        QVERIFY(PhraseContent({t(QString())}).normalized().isEmpty());
        QCOMPARE(
            describe(
                PhraseContent({img(QStringLiteral("a.png")), img(QStringLiteral("a.png"))}).normalized()),
            QStringLiteral("2:a.png 2:a.png"));
    }

    void jsonIsCanonicalAndRoundTrips() {
        QCOMPARE(PhraseContent({t(QStringLiteral("10/20/30"))}).toJson(), js("[{'type':1,'value':'30'}]"));
        QCOMPARE(PhraseContent({img(QStringLiteral("/tmp/dir/x.png"))}).toJson(),
                 js("[{'type':2,'value':'x.png'}]"));
        QCOMPARE(PhraseContent().toJson(), QStringLiteral("[]"));
        QCOMPARE(PhraseContent({t(QStringLiteral("line\n\"q\"")), t(QStringLiteral(" 好")),
                                img(QStringLiteral("p.png"))})
                     .toJson(),
                 QString::fromUtf8(
                     "[{\"type\":1,\"value\":\"line\\n\\\"q\\\" 好\"},{\"type\":2,\"value\":\"p.png\"}]"));

        const QString json =
            PhraseContent({t(QStringLiteral("a")), img(QStringLiteral("d/x.png")), t(QStringLiteral("😀"))})
                .toJson();
        const PhraseContent parsed = PhraseContent::fromJson(json);
        QVERIFY(parsed.isValid());
        QCOMPARE(describe(parsed), QStringLiteral("1:a 2:x.png 1:😀"));
        QCOMPARE(parsed.toJson(), json);
        // A phrase keeps the text it was stored with, whatever its spelling.
        const QString spaced = js("[ {'value':'v', 'type':1} ]");
        Phrase phrase;
        phrase.setJsonValue(spaced);
        QCOMPARE(phrase.jsonValue, spaced);
        QCOMPARE(describe(phrase.content), QStringLiteral("1:v"));
    }

    void parsingIsLenient() {
        const PhraseContent content = PhraseContent::fromJson(
            js(" [ {'value':'v','type':2}, 5, 's', {'type':1}, {'value':'only'}, {'type':7} ] "));
        QVERIFY(content.isValid());
        QCOMPARE(describe(content), QStringLiteral("2:v 1:"));
        QVERIFY(PhraseContent::fromJson(QStringLiteral("[]")).isValid());
        for (const char *bad : {"{\"type\":1}", "[{\"type\":1,", "", "plain text"}) {
            QVERIFY(!PhraseContent::fromJson(QString::fromUtf8(bad)).isValid());
            QVERIFY(PhraseContent::fromJson(QString::fromUtf8(bad)).isEmpty());
        }
    }

    void textsPictureNamesAndColumns() {
        QVERIFY(!PhraseContent({img(QStringLiteral("a.png")), t(QString())}).joinedText());
        const PhraseContent mixed(
            {t(QStringLiteral("您好 \n")), img(QStringLiteral("x")), t(QStringLiteral("\r wo\trld"))});
        QCOMPARE(*mixed.joinedText(), QStringLiteral("您好 \n\r wo\trld"));
        QCOMPARE(mixed.compactText(), QStringLiteral("您好wo\trld"));

        // The repeat test of distinct names looks for the name inside the earlier names.
        const PhraseContent pictures({img(QStringLiteral("ab.png")), img(QStringLiteral("b.png")),
                                      img(QString()), img(QStringLiteral("c.png")),
                                      img(QStringLiteral("ab.png"))});
        QCOMPARE(pictures.distinctPictureNames(), QStringList({"ab.png", "c.png"}));
        QCOMPARE(pictures.allPictureNames(), QStringList({"ab.png", "b.png", "c.png", "ab.png"}));
        QCOMPARE(pictures.imagesColumn(), QStringLiteral("ab.png|c.png|"));
        QVERIFY(PhraseContent({t(QStringLiteral("a.png")), img(QString())}).distinctPictureNames().isEmpty());
        QVERIFY(PhraseContent({t(QStringLiteral("a.png")), img(QString())}).allPictureNames().isEmpty());
    }

    void phraseFromJson() {
        const QJsonObject full =
            QJsonDocument::fromJson(
                jb("{'id':7,'parentSign':'p','sign':'s','label':'l','jsonValue':'[]','texts':'t',"
                   "'images':'i|','position':3,'username':'u','keycode':'k','bgColor':'#fff'}"))
                .object();
        QCOMPARE(Phrase::fromJson(full),
                 Phrase(7, QStringLiteral("p"), QStringLiteral("s"), QStringLiteral("l"),
                        QStringLiteral("[]"), QStringLiteral("t"), QStringLiteral("i|"), 3,
                        QStringLiteral("u"), QStringLiteral("k"), QStringLiteral("#fff")));

        // missing (or null) members keep the defaults
        const QJsonObject partial =
            QJsonDocument::fromJson(jb("{'sign':'s','label':null,'username':'u'}")).object();
        const Phrase d = Phrase::fromJson(partial);
        QCOMPARE(d.sign, QStringLiteral("s"));
        QCOMPARE(d.id, 0);
        QCOMPARE(d.position, 0);
        QCOMPARE(d.label, QString());
        QCOMPARE(d.username, QStringLiteral("u"));
        QVERIFY(!d.keycode);
        QVERIFY(!d.bgColor);
    }

    void wordListReply() {
        const std::optional<PhraseListReply> empty = PhraseListReply::fromText("{}");
        QVERIFY(empty);
        QCOMPARE(empty->state, -1);
        QCOMPARE(empty->msg, QString());
        QVERIFY(empty->data.isEmpty());

        const std::optional<PhraseListReply> reply = PhraseListReply::fromText(
            jb("{'state':0,'msg':'ok','data':[{'sign':'a','position':2},7,{'sign':'b'}]}"));
        QVERIFY(reply);
        QCOMPARE(reply->state, 0);
        QCOMPARE(reply->msg, QStringLiteral("ok"));
        QCOMPARE(reply->data.size(), 2);
        QCOMPARE(reply->data.at(0).position, 2);
        QCOMPARE(reply->data.at(1).sign, QStringLiteral("b"));

        QVERIFY(!PhraseListReply::fromText("[]"));
        QVERIFY(!PhraseListReply::fromText("<html>"));
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    TestModel test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_model.moc"
