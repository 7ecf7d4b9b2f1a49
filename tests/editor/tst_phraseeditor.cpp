#include "cloud/imageutil.h"
#include "editor/phraseeditor.h"
#include "model/phrasecontent.h"
#include "store/localpath.h"

#include "pictures.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QCryptographicHash>
#include <QDir>
#include <QImage>
#include <QMimeData>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFragment>
#include <QTextImageFormat>
#include <QtTest>

namespace {

using Kind = PhraseContent::Piece::Kind;

QList<QTextImageFormat> imagesOf(const QTextEdit &edit) {
    QList<QTextImageFormat> images;
    for (QTextBlock b = edit.document()->begin(); b.isValid(); b = b.next())
        for (auto it = b.begin(); !it.atEnd(); ++it)
            if (it.fragment().charFormat().isImageFormat())
                for (int i = 0; i < it.fragment().length(); ++i)
                    images.append(it.fragment().charFormat().toImageFormat());
    return images;
}

QStringList storedFiles() {
    return QDir(LocalPath::imageDir()).entryList(QDir::Files);
}

} // namespace

class TestEditTextView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        QDir(LocalPath::imageDir()).removeRecursively();
        LocalPath::initDirs();
    }

    void contentRoundTripsWithTextAndPictures() {
        const QByteArray red = picture(40, 30, Qt::red);
        const QByteArray blue = picture(50, 20, Qt::blue, "JPG");
        PhraseEditor writer;
        writer.insertString(QStringLiteral("您好，请稍等 "));
        writer.insertImage(red);
        writer.insertString(QStringLiteral("\n第二行\n"));
        writer.insertImage(blue);
        writer.insertImage(red);
        const QString json = writer.getValue().toJson();

        const QString redName = contentName(red);
        const QString blueName =
            QString::fromLatin1(QCryptographicHash::hash(blue, QCryptographicHash::Md5).toHex()) + ".jpg";
        QCOMPARE(json, QStringLiteral(R"([{"type":1,"value":"您好，请稍等 "},{"type":2,"value":"%1"},)"
                                      R"({"type":1,"value":"\n第二行\n"},{"type":2,"value":"%2"},)"
                                      R"({"type":2,"value":"%1"}])")
                           .arg(redName, blueName));

        // A second editor loads it back from the stored files, also when something is already there.
        PhraseEditor reader;
        reader.insertString(QStringLiteral("前"));
        reader.setContent(PhraseContent::fromJson(json));
        QCOMPARE(reader.getValue().toJson(), json.left(1) + R"({"type":1,"value":"前您好，请稍等 "},)" +
                                                 json.mid(json.indexOf(QStringLiteral("{\"type\":2"))));
        QCOMPARE(imagesOf(reader).size(), 3);
    }

    void blanksBetweenPicturesAreNoText() {
        PhraseEditor edit;
        edit.insertImage(picture(10, 10, Qt::green));
        edit.insertString(QStringLiteral("  \t "));
        edit.insertImage(picture(10, 10, Qt::yellow));
        const QList<PhraseContent::Piece> pieces = edit.getValue().pieces();
        QCOMPARE(pieces.size(), 2);
        QCOMPARE(pieces[0].kind, PhraseContent::Piece::Kind::Picture);
        QCOMPARE(pieces[1].kind, PhraseContent::Piece::Kind::Picture);

        // A line break is content, not a blank.
        edit.insertString(QStringLiteral(" \n"));
        QCOMPARE(edit.getValue().pieces().size(), 3);
        QCOMPARE(edit.getValue().pieces()[2].value, QStringLiteral(" \n"));
    }

    void samePictureIsStoredOnceAndShownEachTime() {
        const QByteArray png = picture(20, 20, Qt::magenta);
        PhraseEditor edit;
        for (int i = 0; i < 3; ++i)
            edit.insertImage(png);
        QCOMPARE(storedFiles(), QStringList{contentName(png)});

        const QList<QTextImageFormat> images = imagesOf(edit);
        QCOMPARE(images.size(), 3);
        QSet<QString> names;
        for (const QTextImageFormat &f : images) {
            QVERIFY(f.name().startsWith(contentName(png) + QStringLiteral("]-[")));
            const int number = f.name().mid(f.name().indexOf(QStringLiteral("]-[")) + 3).toInt();
            QVERIFY(number >= 1 && number <= 9999);
            names.insert(f.name());
        }
        QVERIFY(names.size() > 1); // three equal draws of 1..9999 would be a one-in-10^8 event
        for (const PhraseContent::Piece &piece : edit.getValue().pieces())
            QCOMPARE(piece.value, contentName(png));
    }

    void widePicturesAreScaledToTwoHundred() {
        QCOMPARE(PhraseEditor::displaySize(QSize(400, 300)), QSize(200, 150));
        QCOMPARE(PhraseEditor::displaySize(QSize(150, 100)), QSize(150, 100));
        QCOMPARE(PhraseEditor::displaySize(QSize(200, 999)), QSize(200, 999));
        QCOMPARE(PhraseEditor::displaySize(QSize(401, 301)), QSize(200, 150)); // truncated, not rounded

        PhraseEditor edit;
        edit.insertImage(picture(400, 300, Qt::darkCyan));
        edit.insertImage(picture(150, 100, Qt::darkRed));
        const QList<QTextImageFormat> images = imagesOf(edit);
        QCOMPARE(images.size(), 2);
        QCOMPARE(QSizeF(images[0].width(), images[0].height()), QSizeF(200, 150));
        QCOMPARE(QSizeF(images[1].width(), images[1].height()), QSizeF(150, 100));
        // The document can draw them: the picture is a resource under the attachment's name.
        QVERIFY(!edit.document()->resource(QTextDocument::ImageResource, QUrl(images[0].name())).isNull());
    }

    void unrecognisedOrMissingPicturesAreLeftOut() {
        PhraseEditor edit;
        edit.insertImage(QByteArray("II*\0 not really a tiff", 24)); // tiff is not a picture type here
        edit.insertImage(QByteArray("\x89PNG but broken"));          // right first byte, no picture
        edit.insertImage(QByteArray());
        QVERIFY(imagesOf(edit).isEmpty());
        QVERIFY(storedFiles().isEmpty());

        edit.setContent(
            PhraseContent::fromJson(QStringLiteral(R"([{"type":1,"value":"a"},{"type":2,"value":"gone.png"},)"
                                                   R"({"type":1,"value":"b"}])")));
        QCOMPARE(edit.getValue().toJson(), QStringLiteral(R"([{"type":1,"value":"ab"}])"));
        edit.setContent(PhraseContent::fromJson(QStringLiteral("not json")));
        QCOMPARE(edit.toPlainText(), QStringLiteral("ab"));
    }

    void selectionGivesOnlyItsPieces() {
        PhraseEditor edit;
        edit.insertString(QStringLiteral("abc"));
        edit.insertImage(picture(10, 10, Qt::red));
        edit.insertString(QStringLiteral("def"));
        QTextCursor c = edit.textCursor();
        c.setPosition(1);
        c.setPosition(5, QTextCursor::KeepAnchor); // "bc", the picture, "d"
        edit.setTextCursor(c);
        const QList<PhraseContent::Piece> pieces = edit.getSelectValue().pieces();
        QCOMPARE(pieces.size(), 3);
        QCOMPARE(pieces[0].value, QStringLiteral("bc"));
        QCOMPARE(pieces[1].kind, PhraseContent::Piece::Kind::Picture);
        QCOMPARE(pieces[2].value, QStringLiteral("d"));
    }

    void copyAndPasteBetweenEditorsKeepsPictures() {
        const QByteArray red = picture(300, 60, Qt::red);
        const QByteArray blue = picture(30, 60, Qt::blue);
        PhraseEditor source;
        source.insertString(QStringLiteral("第一句 话"));
        source.insertImage(red);
        source.insertString(QStringLiteral("\n第二句"));
        source.insertImage(blue);
        source.selectAll();
        source.copy();

        const QMimeData *mime = QApplication::clipboard()->mimeData();
        QVERIFY(mime);
        QCOMPARE(QString::fromUtf8(mime->data(PhraseEditor::pasteTypeName)), source.getValue().toJson());
        QCOMPARE(mime->text(), QStringLiteral("第一句话第二句"));
        QCOMPARE(mime->data(QStringLiteral("image/png")), red); // the first picture only

        PhraseEditor target;
        target.insertString(QStringLiteral("[]"));
        QTextCursor c = target.textCursor();
        c.setPosition(1);
        target.setTextCursor(c);
        target.paste();
        QCOMPARE(target.getValue().toJson(), PhraseContent({{Kind::Text, "[第一句 话"},
                                                            {Kind::Picture, contentName(red)},
                                                            {Kind::Text, "\n第二句"},
                                                            {Kind::Picture, contentName(blue)},
                                                            {Kind::Text, "]"}})
                                                 .toJson());
        QCOMPARE(imagesOf(target).size(), 2);
        QCOMPARE(imagesOf(target)[0].width(), 200.0);

        // Pasting over a selection replaces it.
        target.selectAll();
        target.paste();
        QCOMPARE(target.getValue().toJson(), source.getValue().toJson());

        // Copying with nothing selected leaves the clipboard alone.
        QApplication::clipboard()->setText(QStringLiteral("kept"));
        target.moveCursor(QTextCursor::End);
        target.copy();
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("kept"));
        QVERIFY(!QApplication::clipboard()->mimeData()->hasFormat(PhraseEditor::pasteTypeName));
    }

    void pictureFromAnotherProgramIsPastedAndStored() {
        const QByteArray png = picture(64, 48, Qt::darkGreen);
        auto *mime = new QMimeData;
        mime->setData(QStringLiteral("image/png"), png);
        mime->setText(QStringLiteral("ignored while a picture is there"));
        QApplication::clipboard()->setMimeData(mime);

        PhraseEditor edit;
        edit.paste();
        const QList<PhraseContent::Piece> pieces = edit.getValue().pieces();
        QCOMPARE(pieces.size(), 1);
        QCOMPARE(pieces[0].value, contentName(png));
        QCOMPARE(storedFiles(), QStringList{contentName(png)});
        QFile stored(LocalPath::imageDir() + "/" + contentName(png));
        QVERIFY(stored.open(QIODevice::ReadOnly));
        QCOMPARE(stored.readAll(), png);

        // Bytes under a picture type that are not a known picture fall back to the text.
        auto *odd = new QMimeData;
        odd->setData(QStringLiteral("image/tiff"), QByteArray("MM\0*", 4));
        odd->setData(QStringLiteral("text/html"), "<b>x</b><img src='http://example/a.png'>");
        odd->setText(QStringLiteral("纯文本"));
        QApplication::clipboard()->setMimeData(odd);
        edit.paste();
        QCOMPARE(edit.getValue().pieces().size(), 2);
        QCOMPARE(edit.getValue().pieces()[1].value, QStringLiteral("纯文本"));
        QCOMPARE(imagesOf(edit).size(), 1);
    }

    // TIFF from the clipboard and WebP from a dropped file become PNG under their PNG digest, so the
    // service, which keeps only digest-named pictures, never refuses them.
    void otherPictureTypesAreStoredAsPng() {
        for (const char *format : {"TIFF", "WEBP"}) {
            const QByteArray original = picture(40, 30, Qt::darkBlue, format);
            QVERIFY2(!original.isEmpty(), format);
            const std::optional<QByteArray> png = ImageUtil::storable(original);
            QVERIFY(png);
            QCOMPARE(ImageUtil::typeOf(*png), ImageUtil::ImageType::Png);
            QCOMPARE(QImage::fromData(*png).size(), QSize(40, 30));

            auto *mime = new QMimeData;
            QTemporaryDir dir;
            if (QByteArray(format) == "TIFF") {
                mime->setData(QStringLiteral("image/tiff"), original);
            } else {
                QFile file(dir.filePath("dropped.webp"));
                QVERIFY(file.open(QIODevice::WriteOnly) && file.write(original) == original.size());
                file.close();
                mime->setUrls({QUrl::fromLocalFile(file.fileName())});
            }
            QApplication::clipboard()->setMimeData(mime);
            PhraseEditor edit;
            edit.paste();
            const QList<PhraseContent::Piece> pieces = edit.getValue().pieces();
            QCOMPARE(pieces.size(), 1);
            QCOMPARE(pieces[0].value, contentName(*png));
            QVERIFY(storedFiles().contains(contentName(*png)));
        }
        QVERIFY(!ImageUtil::storable(QByteArray("MM\0* not a picture", 20)));
    }

    void typedTextAfterAPictureIsPlainText() {
        PhraseEditor edit;
        edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&edit, 20000));
        edit.insertImage(picture(10, 10, Qt::red));
        QTest::keyClicks(&edit, QStringLiteral("ok"));
        const QList<PhraseContent::Piece> pieces = edit.getValue().pieces();
        QCOMPARE(pieces.size(), 2);
        QCOMPARE(pieces[1].value, QStringLiteral("ok"));
    }
};

QUILLORA_X11_TEST_MAIN(TestEditTextView)
#include "tst_phraseeditor.moc"
