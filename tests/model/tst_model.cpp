#include "testenv.h"

#include "model/app.h"
#include "model/contentformat.h"
#include "model/datawordclass.h"
#include "model/datawordlist.h"
#include "model/wordlistjson.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QTest>
#include <iostream>
#include <sstream>

namespace {

DataJsonItemPtr t(const QString &v) {
    return makeJsonItem(DataJsonItem::Text, v);
}
DataJsonItemPtr img(const QString &v) {
    return makeJsonItem(DataJsonItem::Image, v);
}

// "1:ab 2:x.png" - a readable picture of an item array for comparisons.
QString describe(const DataJsonItemArr &items) {
    QStringList parts;
    for (const DataJsonItemPtr &i : items)
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
        const DataJsonItemPtr picture = img(QStringLiteral("x.png"));
        const DataJsonItemArr items{t(QStringLiteral("a")),
                                    t(QString()),
                                    t(QStringLiteral("b")),
                                    picture,
                                    makeJsonItem(7, QStringLiteral("odd")),
                                    nullptr,
                                    t(QStringLiteral("c"))};
        const DataJsonItemArr linked = toLinktext(items);
        QCOMPARE(describe(linked), QStringLiteral("1:ab 2:x.png 1:c"));
        QCOMPARE(linked.at(1).get(), picture.get()); // the same object, not a copy
        QVERIFY(toLinktext({t(QString())}).isEmpty());
        QCOMPARE(describe(toLinktext({img(QStringLiteral("a.png")), img(QStringLiteral("a.png"))})),
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
        const std::optional<DataJsonItemArr> parsed = toDataJsonItemArr(json);
        QVERIFY(parsed);
        QCOMPARE(describe(*parsed), QStringLiteral("1:a 2:x.png 1:😀"));
        QCOMPARE(toJsonValue(*parsed), json);
    }

    void parsingIsLenient() {
        const std::optional<DataJsonItemArr> items =
            toDataJsonItemArr(js(" [ {'value':'v','type':2}, 5, 's', {'type':1}, {'value':'only'}, {} ] "));
        QVERIFY(items);
        QCOMPARE(describe(*items), QStringLiteral("2:v 1: 0:only 0:"));
        QVERIFY(toDataJsonItemArr(QStringLiteral("[]"))->isEmpty());
        QVERIFY(!toDataJsonItemArr(QStringLiteral("{\"type\":1}")));
        QVERIFY(!toDataJsonItemArr(QStringLiteral("[{\"type\":1,")));
        QVERIFY(!toDataJsonItemArr(QString()));
        QVERIFY(!toDataJsonItemArr(QStringLiteral("plain text")));
    }

    void textsAndPictureNames() {
        QVERIFY(!getStringValue({img(QStringLiteral("a.png")), t(QString())}));
        QCOMPARE(*getStringValue({t(QStringLiteral("a")), img(QStringLiteral("x")), t(QStringLiteral("b"))}),
                 QStringLiteral("ab"));

        // the repeat test of getImagenameArr looks for the name inside the earlier names
        const DataJsonItemArr pictures{img(QStringLiteral("ab.png")), img(QStringLiteral("b.png")),
                                       img(QString()), img(QStringLiteral("c.png")),
                                       img(QStringLiteral("ab.png"))};
        QCOMPARE(*getImagenameArr(pictures), QStringList({"ab.png", "c.png"}));
        QCOMPARE(*getImagenameArrAll(pictures), QStringList({"ab.png", "b.png", "c.png", "ab.png"}));
        QVERIFY(!getImagenameArr({t(QStringLiteral("a.png")), img(QString())}));
        QVERIFY(!getImagenameArrAll({t(QStringLiteral("a.png")), img(QString())}));
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

    void stringOperations() {
        QCOMPARE(removeAllNull(QStringLiteral("a \n\r \r\nb")), QStringLiteral("ab"));
        QCOMPARE(removeAllNull(QStringLiteral("a\tb")), QStringLiteral("a\tb"));
        QCOMPARE(split(QStringLiteral("|a||b|"), QStringLiteral("|")), QStringList({"", "a", "", "b", ""}));
        QCOMPARE(split(QStringLiteral("a--b"), QStringLiteral("--")), QStringList({"a", "b"}));
        QCOMPARE(replace(QStringLiteral("a.b.c"), QStringLiteral("."), QStringLiteral("::")),
                 QStringLiteral("a::b::c"));
    }

    void phraseFromJson() {
        const QJsonObject full =
            QJsonDocument::fromJson(
                jb("{'id':7,'parentSign':'p','sign':'s','label':'l','jsonValue':'[]','texts':'t',"
                   "'images':'i|','position':3,'username':'u','keycode':'k','bgColor':'#fff'}"))
                .object();
        QCOMPARE(DataWordList::fromJson(full),
                 DataWordList(7, QStringLiteral("p"), QStringLiteral("s"), QStringLiteral("l"),
                              QStringLiteral("[]"), QStringLiteral("t"), QStringLiteral("i|"), 3,
                              QStringLiteral("u"), QStringLiteral("k"), QStringLiteral("#fff")));

        // missing (or null) members keep the defaults
        const QJsonObject partial =
            QJsonDocument::fromJson(jb("{'sign':'s','label':null,'username':'u'}")).object();
        const DataWordList d = DataWordList::fromJson(partial);
        QCOMPARE(d.sign, QStringLiteral("s"));
        QCOMPARE(d.id, 0);
        QCOMPARE(d.position, 0);
        QCOMPARE(d.label, QString());
        QCOMPARE(d.username, QStringLiteral("u"));
        QVERIFY(!d.keycode);
        QVERIFY(!d.bgColor);
    }

    void wordListReply() {
        const std::optional<WordListJson> empty = WordListJson::fromText("{}");
        QVERIFY(empty);
        QCOMPARE(empty->state, -1);
        QCOMPARE(empty->msg, QString());
        QVERIFY(empty->data.isEmpty());

        const std::optional<WordListJson> reply = WordListJson::fromText(
            jb("{'state':0,'msg':'ok','data':[{'sign':'a','position':2},7,{'sign':'b'}]}"));
        QVERIFY(reply);
        QCOMPARE(reply->state, 0);
        QCOMPARE(reply->msg, QStringLiteral("ok"));
        QCOMPARE(reply->data.size(), 2);
        QCOMPARE(reply->data.at(0).position, 2);
        QCOMPARE(reply->data.at(1).sign, QStringLiteral("b"));

        QVERIFY(!WordListJson::fromText("[]"));
        QVERIFY(!WordListJson::fromText("<html>"));
    }

    void ownerBeforeSignIn() {
        QCOMPARE(App::userInfo().username, QStringLiteral("123"));
        QCOMPARE(App::version, 1);
        QCOMPARE(DataWordClass(), DataWordClass(0, QString(), QString(), 0, QString()));
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    QCoreApplication app(argc, argv);
    TestModel test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_model.moc"
