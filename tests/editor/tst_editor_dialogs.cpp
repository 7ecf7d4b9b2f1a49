#include "cloud/classoperations.h"
#include "cloud/cloudclient.h"
#include "cloud/phraseoperations.h"
#include "editor/classdialog.h"
#include "editor/createphrasedialog.h"
#include "editor/editphrasedialog.h"
#include "editor/emojicell.h"
#include "editor/emojipicker.h"
#include "editor/phraseeditor.h"
#include "editor/pictureuploaddialog.h"
#include "model/phrasecontent.h"
#include "model/settings.h"
#include "store/classstore.h"
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"
#include "ui/messageboxanswerer.h"

#include "cloudservice.h"
#include "pictures.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QBuffer>
#include <QComboBox>
#include <QCryptographicHash>
#include <QImage>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString user = QStringLiteral("agent07");
const QString password = QStringLiteral("s+cr/t=&pw");

} // namespace

class TestEditorDialogs : public QObject {
    Q_OBJECT

    CloudService service;
    Settings settings_;
    CloudClient client_{settings_};
    LocalStore db_;
    std::unique_ptr<MessageBoxAnswerer> answerer_;
    PhraseStore phrases_{db_};
    ClassStore classes_{db_};
    PhraseOperations phraseOperations_{phrases_, client_, user};
    ClassOperations classOperations_{classes_, client_, user};

    bool signIn() {
        std::optional<Result<QString>> result;
        client_.signIn(user, password, [&](const Result<QString> &r) { result = r; });
        if (!QTest::qWaitFor([&] { return result.has_value(); }, 20000) || !result->isOk())
            return false;
        client_.setUsername(result->value());
        return true;
    }

    QString makeClass(const QString &label) {
        std::optional<Result<void>> result;
        classOperations_.create(label, [&](const Result<void> &r) { result = r; });
        if (!QTest::qWaitFor([&] { return result.has_value(); }, 20000) || !result->isOk())
            return {};
        for (const PhraseClass &c : classes_.getAll(user))
            if (c.label == label)
                return c.sign;
        return {};
    }

    static void clickSave(PhraseDialog &dialog) {
        QTest::mouseClick(dialog.saveButton, Qt::LeftButton);
        QVERIFY(!dialog.saveButton->isEnabled()); // no second save while this one runs
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(service.start());
        QVERIFY(service.addUser(user, password));
        qputenv("QUILLORA_SERVICE_URL", service.baseUrl().toUtf8());
        LocalPath::initDirs();
        QVERIFY(db_.open());
        client_.setUsername(user);
        answerer_ =
            std::make_unique<MessageBoxAnswerer>([](const MessageBoxAnswerer::Request &) { return true; });
    }

    void init() { answerer_->clearShown(); }

    void failedUploadKeepsTheDialogOpenAndCreatesNothing() {
        // Not signed in yet: the service refuses the picture.
        settings_.setCookie(QString());
        CreatePhraseDialog dialog(phraseOperations_, QStringLiteral("any-class"));
        dialog.labelViewBox->setText(QStringLiteral("带图短语"));
        dialog.textView->insertString(QStringLiteral("看图："));
        dialog.textView->insertImage(picture(30, 30, Qt::red));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog, 20000));

        clickSave(dialog);
        QTRY_COMPARE_WITH_TIMEOUT(answerer_->shown().size(), 1, 30000);
        QCOMPARE(answerer_->shown()[0].title, QStringLiteral("上传图片失败"));
        QVERIFY(!answerer_->shown()[0].text.isEmpty()); // the service's own reason
        QVERIFY(dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        QVERIFY(dialog.saveButton->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(!dialog.uploadDialog(), 5000);
        QVERIFY(phrases_.getAll(QStringLiteral("any-class"), user).isEmpty());
        QCOMPARE(dialog.labelViewBox->text(), QStringLiteral("带图短语")); // nothing the user wrote is lost
        QCOMPARE(dialog.textView->getValue().pieces().size(), 2);
    }

    void saveUploadsPicturesThenCreatesThePhrase() {
        QVERIFY(signIn());
        const QString classSign = makeClass(QStringLiteral("常用问候"));
        QVERIFY(!classSign.isEmpty());

        const QByteArray png = picture(400, 300, Qt::darkBlue);
        const QByteArray jpg = picture(60, 40, Qt::darkGreen, "JPG");
        CreatePhraseDialog dialog(phraseOperations_, classSign);
        dialog.labelViewBox->setText(QStringLiteral("欢迎语"));
        dialog.textView->insertString(QStringLiteral("您好 "));
        dialog.textView->insertImage(png);
        dialog.textView->insertImage(jpg);
        dialog.textView->insertImage(png);
        dialog.insertEmoji(QStringLiteral("😊"));
        const QString json = dialog.content().toJson();
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog, 20000));

        clickSave(dialog);
        QTRY_VERIFY_WITH_TIMEOUT(!dialog.isVisible(), 30000);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(answerer_->shown().isEmpty());

        const QList<Phrase> local = phrases_.getAll(classSign, user);
        QCOMPARE(local.size(), 1);
        QCOMPARE(local[0].label, QStringLiteral("欢迎语"));
        QCOMPARE(local[0].jsonValue, json);

        // The service has the phrase and both pictures, byte for byte.
        std::optional<Result<QList<Phrase>>> remote;
        client_.fetchPhrases(user, [&](const Result<QList<Phrase>> &r) { remote = r; });
        QTRY_VERIFY_WITH_TIMEOUT(remote.has_value(), 20000);
        QVERIFY(remote->isOk());
        QCOMPARE(remote->value().size(), 1);
        QCOMPARE(remote->value()[0].sign, local[0].sign);
        QCOMPARE(remote->value()[0].jsonValue, json);
        for (const auto &[bytes, ext] : {std::pair{png, ".png"}, std::pair{jpg, ".jpg"}}) {
            std::optional<Result<QString>> down;
            client_.downloadPicture(contentName(bytes, ext), [&](const Result<QString> &r) { down = r; });
            QTRY_VERIFY_WITH_TIMEOUT(down.has_value(), 20000);
            QVERIFY(down->isOk());
            QCOMPARE(QByteArray::fromBase64(down->value().toLatin1()), bytes);
        }
    }

    void refusedCreateStaysOpenWithoutAMessage() {
        QVERIFY(signIn());
        CreatePhraseDialog dialog(phraseOperations_, QStringLiteral("no-such-class"));
        dialog.textView->insertString(QStringLiteral("孤儿短语"));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog, 20000));
        clickSave(dialog);
        QTRY_VERIFY_WITH_TIMEOUT(dialog.saveButton->isEnabled(), 30000);
        QVERIFY(dialog.isVisible());
        QVERIFY(answerer_->shown().isEmpty());
        QVERIFY(phrases_.getAll(QStringLiteral("no-such-class"), user).isEmpty());
    }

    void editMovesThePhraseToTheChosenClass() {
        QVERIFY(signIn());
        const QString first = makeClass(QStringLiteral("物流"));
        const QString second = makeClass(QStringLiteral("售后"));
        QVERIFY(!first.isEmpty() && !second.isEmpty());
        CreatePhraseDialog create(phraseOperations_, first);
        create.labelViewBox->setText(QStringLiteral("发货"));
        create.textView->insertString(QStringLiteral("已发货"));
        create.textView->insertImage(picture(20, 20, Qt::yellow));
        create.show();
        clickSave(create);
        QTRY_VERIFY_WITH_TIMEOUT(!create.isVisible(), 30000);
        const Phrase phrase = phrases_.getAll(first, user).value(0);
        QVERIFY(!phrase.sign.isEmpty());

        EditPhraseDialog edit(phraseOperations_, classes_.getAll(user), phrase);
        // The pop-up lists every class in library order, with the phrase's own class chosen.
        const QList<PhraseClass> all = classes_.getAll(user);
        QCOMPARE(edit.ItemButton->count(), all.size());
        for (int i = 0; i < all.size(); ++i)
            QCOMPARE(edit.ItemButton->itemText(i), all[i].label);
        QCOMPARE(all[edit.ItemButton->currentIndex()].sign, first);
        QCOMPARE(edit.labelViewBox->text(), QStringLiteral("发货"));
        QCOMPARE(edit.content().toJson(), phrase.jsonValue);

        for (int i = 0; i < all.size(); ++i)
            if (all[i].sign == second)
                edit.ItemButton->setCurrentIndex(i);
        edit.labelViewBox->setText(QStringLiteral("发货通知"));
        edit.textView->insertString(QStringLiteral("，请查收"));
        edit.show();
        clickSave(edit);
        QTRY_VERIFY_WITH_TIMEOUT(!edit.isVisible(), 30000);
        QCOMPARE(edit.result(), int(QDialog::Accepted));
        const std::optional<Phrase> moved = phrases_.getData(phrase.sign);
        QVERIFY(moved);
        QCOMPARE(moved->parentSign, second);
        QCOMPARE(moved->label, QStringLiteral("发货通知"));
        QCOMPARE(moved->texts, QStringLiteral("已发货，请查收"));
    }

    void classDialogCreatesAndRenames() {
        QVERIFY(signIn());
        ClassDialog create(classOperations_);
        QCOMPARE(create.label->text(), QString());
        create.label->setText(QStringLiteral("售前咨询"));
        create.show();
        QTest::mouseClick(create.saveButton, Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(!create.isVisible(), 20000);
        QCOMPARE(create.result(), int(QDialog::Accepted));
        std::optional<PhraseClass> made;
        for (const PhraseClass &c : classes_.getAll(user))
            if (c.label == QStringLiteral("售前咨询"))
                made = c;
        QVERIFY(made);

        ClassDialog rename(classOperations_, made);
        QCOMPARE(rename.label->text(), QStringLiteral("售前咨询"));
        rename.label->setText(QStringLiteral("售前"));
        rename.show();
        QTest::mouseClick(rename.saveButton, Qt::LeftButton);
        QVERIFY(!rename.isVisible()); // closes at once; the rename follows in the background
        QTRY_COMPARE_WITH_TIMEOUT(classes_.getData(made->sign)->label, QStringLiteral("售前"), 20000);

        // A name the service refuses keeps the dialog open, silently.
        ClassDialog tooLong(classOperations_);
        tooLong.label->setText(QString(300, QChar(u'长')));
        tooLong.show();
        QTest::mouseClick(tooLong.saveButton, Qt::LeftButton);
        QVERIFY(!tooLong.saveButton->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(tooLong.saveButton->isEnabled(), 20000);
        QVERIFY(tooLong.isVisible());
        QVERIFY(answerer_->shown().isEmpty());
    }

    void pictureFilesAndEmojiGoIntoTheEditor() {
        QTemporaryDir dir;
        const QByteArray jpg = picture(16, 16, Qt::cyan, "JPG");
        const QString notPicture = dir.filePath(QStringLiteral("fake.png"));
        const QString realPicture = dir.filePath(QStringLiteral("real.jpg"));
        for (const auto &[path, bytes] :
             {std::pair{notPicture, QByteArray("RIFF....WEBPVP8 ")}, std::pair{realPicture, jpg}}) {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(bytes);
        }
        CreatePhraseDialog dialog(phraseOperations_, QStringLiteral("c"));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog, 20000));
        dialog.insertImageFile(notPicture);
        dialog.insertImageFile(dir.filePath(QStringLiteral("missing.jpg")));
        QTRY_COMPARE_WITH_TIMEOUT(answerer_->shown().size(), 2, 10000);
        QCOMPARE(answerer_->shown()[0].title, QStringLiteral("图片类型不正确"));
        QCOMPARE(answerer_->shown()[0].text, QStringLiteral("上传图片失败"));
        QVERIFY(dialog.textView->getValue().isEmpty());

        dialog.insertImageFile(realPicture);
        QCOMPARE(dialog.content().toJson(),
                 QStringLiteral(R"([{"type":2,"value":"%1"}])").arg(contentName(jpg, ".jpg")));

        // The picker opens beside the button; a click inserts at the cursor.
        dialog.textView->insertString(QStringLiteral("ab"));
        QTextCursor c = dialog.textView->textCursor();
        c.movePosition(QTextCursor::Left);
        dialog.textView->setTextCursor(c);
        dialog.emojiClicked();
        EmojiPicker *picker = dialog.emojiPicker();
        QVERIFY(picker);
        QTRY_VERIFY_WITH_TIMEOUT(picker->isVisible(), 5000);
        QTest::mouseClick(picker->cells()[38], Qt::LeftButton, {}, QPoint(20, 20));
        QCOMPARE(dialog.textView->getValue().pieces().last().value, QStringLiteral("a♨️b"));
    }

    // An emoji or a picture goes in before the selected text and leaves it there, still selected.
    void insertionsKeepTheSelectedText() {
        QTemporaryDir dir;
        const QByteArray png = picture(12, 12, Qt::magenta);
        const QString file = dir.filePath(QStringLiteral("dot.png"));
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly) && f.write(png) == png.size());
        f.close();
        CreatePhraseDialog dialog(phraseOperations_, QStringLiteral("c"));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog, 20000));
        PhraseEditor *edit = dialog.textView;
        edit->insertString(QStringLiteral("hello world"));
        QTextCursor c = edit->textCursor();
        c.setPosition(6);
        c.setPosition(11, QTextCursor::KeepAnchor);
        edit->setTextCursor(c);

        dialog.emojiClicked();
        QTRY_VERIFY_WITH_TIMEOUT(dialog.emojiPicker() && dialog.emojiPicker()->isVisible(), 5000);
        EmojiCell *smile = dialog.emojiPicker()->cells()[5];
        QCOMPARE(smile->emoji(), QStringLiteral("😊"));
        QTest::mouseClick(smile, Qt::LeftButton, {}, QPoint(20, 20));
        QCOMPARE(edit->toPlainText(), QStringLiteral("hello 😊world"));
        QCOMPARE(edit->textCursor().selectedText(), QStringLiteral("world"));

        // A second emoji follows the first, still before the selection.
        QTest::mouseClick(smile, Qt::LeftButton, {}, QPoint(20, 20));
        QCOMPARE(edit->toPlainText(), QStringLiteral("hello 😊😊world"));

        dialog.insertImageFile(file);
        const QList<PhraseContent::Piece> pieces = edit->getValue().pieces();
        QCOMPARE(pieces.size(), 3);
        QCOMPARE(pieces[0].value, QStringLiteral("hello 😊😊"));
        QCOMPARE(pieces[1].value, contentName(png));
        QCOMPARE(pieces[2].value, QStringLiteral("world"));
        QCOMPARE(edit->textCursor().selectedText(), QStringLiteral("world"));
    }

    void uploadDialogTakesEachPictureOnce() {
        const QString json = QStringLiteral(R"([{"type":2,"value":"a.png"},{"type":1,"value":"x"},)"
                                            R"({"type":2,"value":"b.jpg"},{"type":2,"value":"a.png"}])");
        PictureUploadDialog dialog(client_, PhraseContent::fromJson(json), {});
        QCOMPARE(dialog.filenameArr(), (QStringList{"a.png", "b.jpg"}));
        QCOMPARE(dialog.progressbar->minimum(), 0);
        QCOMPARE(dialog.progressbar->maximum(), 100);

        // Nothing to upload: it reports success and closes by itself.
        std::optional<Result<void>> outcome;
        PictureUploadDialog empty(client_, PhraseContent::text(QStringLiteral("x")),
                                  [&](const Result<void> &r) { outcome = r; });
        empty.show();
        QTRY_VERIFY_WITH_TIMEOUT(outcome.has_value(), 10000);
        QVERIFY(outcome->isOk());
        QVERIFY(!empty.isVisible());
    }
};

QUILLORA_X11_TEST_MAIN(TestEditorDialogs)
#include "tst_editor_dialogs.moc"
