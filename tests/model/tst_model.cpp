#include "testenv.h"

#include "model/contentformat.h"
#include "model/phrase.h"
#include "model/phraseclass.h"
#include "model/phraselistreply.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QTest>
#include <iostream>
#include <sstream>

namespace {

ContentPiecePtr t(const QString &v) {
    return makeContentPiece(ContentPiece::Text, v);
}
ContentPiecePtr img(const QString &v) {
    return makeContentPiece(ContentPiece::Image, v);
}

// "1:ab 2:x.png" - a readable picture of an item array for comparisons.
QString describe(const ContentPieces &items) {
    QStringList parts;
    for (const ContentPiecePtr &i : items)
        parts << QStringLiteral("%1:%2").arg(i->type).arg(i->value);
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
    void linktextMergesTextsAndKeepsPictureObjects() {
        const ContentPiecePtr picture = img(QStringLiteral("x.png"));
        const ContentPieces items{t(QStringLiteral("a")),
                                  t(QString()),
                                  t(QStringLiteral("b")),
                                  picture,
                                  makeContentPiece(7, QStringLiteral("odd")),
                                  nullptr,
                                  t(QStringLiteral("c"))};
        const ContentPieces linked = normalizePieces(items);
        QCOMPARE(describe(linked), QStringLiteral("1:ab 2:x.png 1:c"));
        QCOMPARE(linked.at(1).get(), picture.get()); // the same object, not a copy
        QVERIFY(normalizePieces({t(QString())}).isEmpty());
        QCOMPARE(describe(normalizePieces({img(QStringLiteral("a.png")), img(QStringLiteral("a.png"))})),
                 QStringLiteral("2:a.png 2:a.png"));
    }

    void jsonValueIsCanonical() {
        QCOMPARE(toJsonValue({t(QStringLiteral("10/20/30"))}), js("[{'type':1,'value':'30'}]"));
        QCOMPARE(toJsonValue({img(QStringLiteral("/tmp/dir/x.png"))}), js("[{'type':2,'value':'x.png'}]"));
        QCOMPARE(toJsonValue({}), QStringLiteral("[]"));
        QCOMPARE(toJsonValue({t(QStringLiteral("line\n\"q\"")), t(QStringLiteral(" 好")),
                              img(QStringLiteral("p.png"))}),
                 QString::fromUtf8(
                     "[{\"type\":1,\"value\":\"line\\n\\\"q\\\" 好\"},{\"type\":2,\"value\":\"p.png\"}]"));

        // parse -> write -> parse gives the same canonical items
        const QString json =
            toJsonValue({t(QStringLiteral("a")), img(QStringLiteral("d/x.png")), t(QStringLiteral("😀"))});
        const std::optional<ContentPieces> parsed = parseContent(json);
        QVERIFY(parsed);
        QCOMPARE(describe(*parsed), QStringLiteral("1:a 2:x.png 1:😀"));
        QCOMPARE(toJsonValue(*parsed), json);
    }

    void parsingIsLenient() {
        const std::optional<ContentPieces> items =
            parseContent(js(" [ {'value':'v','type':2}, 5, 's', {'type':1}, {'value':'only'}, {} ] "));
        QVERIFY(items);
        QCOMPARE(describe(*items), QStringLiteral("2:v 1: 0:only 0:"));
        QVERIFY(parseContent(QStringLiteral("[]"))->isEmpty());
        QVERIFY(!parseContent(QStringLiteral("{\"type\":1}")));
        QVERIFY(!parseContent(QStringLiteral("[{\"type\":1,")));
        QVERIFY(!parseContent(QString()));
        QVERIFY(!parseContent(QStringLiteral("plain text")));
    }

    void textsAndPictureNames() {
        QVERIFY(!getStringValue({img(QStringLiteral("a.png")), t(QString())}));
        QCOMPARE(*getStringValue({t(QStringLiteral("a")), img(QStringLiteral("x")), t(QStringLiteral("b"))}),
                 QStringLiteral("ab"));

        // the repeat test of distinctPictureNames looks for the name inside the earlier names
        const ContentPieces pictures{img(QStringLiteral("ab.png")), img(QStringLiteral("b.png")),
                                     img(QString()), img(QStringLiteral("c.png")),
                                     img(QStringLiteral("ab.png"))};
        QCOMPARE(*distinctPictureNames(pictures), QStringList({"ab.png", "c.png"}));
        QCOMPARE(*allPictureNames(pictures), QStringList({"ab.png", "b.png", "c.png", "ab.png"}));
        QVERIFY(!distinctPictureNames({t(QStringLiteral("a.png")), img(QString())}));
        QVERIFY(!allPictureNames({t(QStringLiteral("a.png")), img(QString())}));
    }

    void derivedColumns() {
        QCOMPARE(jsonStringToString(QStringLiteral("not json")), QString());
        QCOMPARE(jsonStringToString(QStringLiteral("[]")), QString());
        QCOMPARE(jsonStringToString(js("[{'type':1,'value':'您好'},{'type':2,'value':'a.png'},"
                                       "{'type':1,'value':' world'}]")),
                 QStringLiteral("您好 world"));
        QCOMPARE(jsonStringToImageString(QStringLiteral("not json")), QString());
        QCOMPARE(jsonStringToImageString(js("[{'type':1,'value':'t'}]")), QString());
        QCOMPARE(jsonStringToImageString(
                     js("[{'type':2,'value':'a.png'},{'type':2,'value':'a.png'},{'type':2,'value':''}]")),
                 QStringLiteral("a.png|"));
        QCOMPARE(jsonStringToImageString(js(
                     "[{'type':2,'value':'ab.png'},{'type':2,'value':'b.png'},{'type':2,'value':'c.jpg'}]")),
                 QStringLiteral("ab.png|c.jpg|"));
    }

    void columnsFromOneParse() {
        for (const char *json : {"not json", "[]",
                                 "[{'type':1,'value':'a'},{'type':2,'value':'ab.png'},"
                                 "{'type':2,'value':'b.png'},{'type':1,'value':'c'}]"}) {
            const DerivedColumns columns = jsonStringToColumns(js(json));
            QCOMPARE(columns.texts, jsonStringToString(js(json)));
            QCOMPARE(columns.images, jsonStringToImageString(js(json)));
        }
        QCOMPARE(jsonStringToColumns(js("[{'type':2,'value':'x.png'},{'type':1,'value':'t'}]")).images,
                 QStringLiteral("x.png|"));
    }

    void whitespaceIsRemovedForTheOneLineView() {
        QCOMPARE(removeWhitespace(QStringLiteral("a \n\r \r\nb")), QStringLiteral("ab"));
        QCOMPARE(removeWhitespace(QStringLiteral("a\tb")), QStringLiteral("a\tb"));
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
