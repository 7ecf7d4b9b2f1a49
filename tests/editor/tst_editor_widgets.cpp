#include "editor/emojicell.h"
#include "editor/emojipicker.h"
#include "ui/hoverview.h"
#include "ui/messagebox.h"
#include "ui/messageboxanswerer.h"

#include "xvfbsession.h"

#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

namespace {} // namespace

class TestEditorWidgets : public QObject {
    Q_OBJECT

private:
    // Presses the button with the given text on the next modal box that appears.
    static void pressWhenShown(const QString &buttonText) {
        auto *timer = new QTimer;
        timer->setInterval(50);
        QObject::connect(timer, &QTimer::timeout, [timer, buttonText] {
            QWidget *modal = QApplication::activeModalWidget();
            if (!modal)
                return;
            for (QPushButton *b : modal->findChildren<QPushButton *>()) {
                if (b->text() == buttonText) {
                    timer->stop();
                    timer->deleteLater();
                    b->click();
                    return;
                }
            }
        });
        timer->start();
    }

private Q_SLOTS:
    void modalBoxAnswersWithTheButtonPressed() {
        pressWhenShown(QStringLiteral("取消"));
        QVERIFY(!MessageBox::showIsOk(QStringLiteral("删除分类"), QStringLiteral("确定删除？")));
        pressWhenShown(QStringLiteral("确认"));
        QVERIFY(MessageBox::showIsOk(QStringLiteral("删除分类"), QStringLiteral("确定删除？")));
    }

    void sheetBoxesCallBackOnceClosed() {
        QWidget window;
        window.resize(300, 200);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window, 20000));

        int calls = 0;
        bool answer = true;
        pressWhenShown(QStringLiteral("取消"));
        MessageBox::showIsOk(QStringLiteral("t"), QStringLiteral("v"), &window, QMessageBox::Warning,
                             [&](bool ok) {
                                 ++calls;
                                 answer = ok;
                             });
        QTRY_COMPARE_WITH_TIMEOUT(calls, 1, 10000);
        QVERIFY(!answer);

        // The one-button form has no "取消" and closes with "确认".
        bool closed = false;
        pressWhenShown(QStringLiteral("确认"));
        MessageBox::show(QStringLiteral("上传图片失败"), QStringLiteral("x"), &window, QMessageBox::Warning,
                         [&] { closed = true; });
        QTRY_VERIFY_WITH_TIMEOUT(closed, 10000);
    }

    // Unattended runs answer every box and say what it asked.
    void answererAnswersAndRecords() {
        MessageBoxAnswerer answerer(
            [](const MessageBoxAnswerer::Request &r) { return r.title == QLatin1String("yes"); });
        QVERIFY(MessageBox::showIsOk(QStringLiteral("yes"), QStringLiteral("a")));
        std::optional<bool> got;
        QWidget window;
        window.show();
        MessageBox::showIsOk(QStringLiteral("no"), QStringLiteral("b"), &window, QMessageBox::Critical,
                             [&](bool ok) { got = ok; });
        QTRY_VERIFY_WITH_TIMEOUT(got.has_value(), 10000);
        QVERIFY(!*got);
        bool called = false;
        MessageBox::show(QStringLiteral("图片类型不正确"), QStringLiteral("上传图片失败"), nullptr,
                         QMessageBox::Warning, [&] { called = true; });
        QTRY_VERIFY_WITH_TIMEOUT(called, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(QApplication::activeModalWidget(), nullptr, 10000);

        const auto &shown = answerer.shown();
        QCOMPARE(shown.size(), 3);
        QCOMPARE(shown[1].style, QMessageBox::Critical);
        QVERIFY(shown[1].windowModal && shown[1].twoButtons);
        QCOMPARE(shown[2].title, QStringLiteral("图片类型不正确"));
        QCOMPARE(shown[2].text, QStringLiteral("上传图片失败"));
        QVERIFY(!shown[2].twoButtons && !shown[2].windowModal);
    }

    void hoverFollowsThePointer() {
        QWidget window;
        window.resize(200, 100);
        auto *view = new HoverView(&window);
        view->setGeometry(10, 10, 40, 40);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window, 20000));
        QSignalSpy spy(view, &HoverView::hoverChanged);

        QTest::mouseMove(&window, QPoint(150, 80));
        QTest::mouseMove(view, QPoint(20, 20));
        QTRY_VERIFY_WITH_TIMEOUT(view->isMouseOver(), 5000);
        QTest::mouseMove(&window, QPoint(150, 80));
        QTRY_VERIFY_WITH_TIMEOUT(!view->isMouseOver(), 5000);
        QCOMPARE(spy.size(), 2);

        // Hiding while hovered drops the highlight: no leave event would come.
        QTest::mouseMove(view, QPoint(20, 20));
        QTRY_VERIFY_WITH_TIMEOUT(view->isMouseOver(), 5000);
        view->hide();
        QVERIFY(!view->isMouseOver());
    }

    void emojiTableSplitsByUserPerceivedCharacter() {
        const QStringList table = EmojiPicker::emojiTable();
        QCOMPARE(table.size(), 163);
        QCOMPARE(table.first(), QStringLiteral("😃"));
        QCOMPARE(table.last(), QStringLiteral("💀"));
        QVERIFY(table.contains(QStringLiteral("♨️")));
        QVERIFY(!table.contains(QStringLiteral("♨")));
        // A variation selector never stands alone, and every item is one character to the user.
        for (const QString &item : table) {
            QVERIFY2(!item.startsWith(QChar(0xFE0F)), qPrintable(item));
            QCOMPARE(EmojiPicker::splitGraphemes(item).size(), 1);
        }
        QCOMPARE(EmojiPicker::splitGraphemes(QStringLiteral("a♨️b✌️")),
                 (QStringList{"a", "♨️", "b", "✌️"}));
        EmojiPicker picker;
        QCOMPARE(picker.emojiDataSource, table);
        QCOMPARE(picker.cells().size(), 163);
    }

    void gridColumnsFollowTheWidth() {
        QCOMPARE(EmojiPicker::maxColumns(200), 5);
        QCOMPARE(EmojiPicker::maxColumns(239), 5);
        QCOMPARE(EmojiPicker::maxColumns(240), 6);
        QCOMPARE(EmojiPicker::maxColumns(39), 0);

        EmojiPicker picker;
        for (int width : {200, 239, 420, 30}) {
            picker.resize(width, 5000); // tall enough for no scroll bar
            picker.generalLayout();     // a hidden widget gets its resize event only when shown
            QVERIFY(picker.columnCount() >= 1);
            QVERIFY(picker.columnCount() <= std::max(1, EmojiPicker::maxColumns(width)));
            // Cells never overlap and stay inside the width.
            const QRect last = picker.cells()[picker.columnCount() - 1]->geometry();
            QVERIFY(width < 40 || last.right() < width);
            QCOMPARE(picker.cells()[1]->x() - picker.cells()[0]->x() >= 40, picker.columnCount() > 1);
        }
        picker.resize(420, 5000);
        picker.generalLayout();
        QCOMPARE(picker.columnCount(), 10);
        QCOMPARE(picker.cells()[10]->pos(), QPoint(0, 42));
    }

    void leftClickOnACellPicksIt() {
        EmojiPicker picker;
        QStringList picked;
        connect(&picker, &EmojiPicker::picked, this, [&](const QString &emoji) { picked.append(emoji); });
        picker.resize(300, 200);
        picker.show();
        QVERIFY(QTest::qWaitForWindowExposed(&picker, 20000));
        QTest::mouseClick(picker.cells()[3], Qt::LeftButton, {}, QPoint(20, 20));
        QTest::mouseClick(picker.cells()[38], Qt::LeftButton, {}, QPoint(5, 35));
        QTest::mouseClick(picker.cells()[38], Qt::RightButton, {}, QPoint(5, 35));
        QCOMPARE(picked, (QStringList{QStringLiteral("😂"), QStringLiteral("♨️")}));
    }
};

QUILLORA_X11_TEST_MAIN(TestEditorWidgets)
#include "tst_editor_widgets.moc"
