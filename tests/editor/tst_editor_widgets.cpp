#include "ui/hoverview.h"
#include "ui/messagebox.h"

#include "xvfbsession.h"

#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

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
    void cleanup() {
        MessageBox::setAnswerProvider({});
        MessageBox::clearShown();
    }

    void modalBoxAnswersWithTheButtonPressed() {
        pressWhenShown(QStringLiteral("取消"));
        QVERIFY(!MessageBox::showIsOk(QStringLiteral("删除分类"), QStringLiteral("确定删除？")));
        pressWhenShown(QStringLiteral("确认"));
        QVERIFY(MessageBox::showIsOk(QStringLiteral("删除分类"), QStringLiteral("确定删除？")));
        QVERIFY(MessageBox::shown().isEmpty()); // nothing recorded without a provider
    }

    void sheetBoxesCallBackOnceClosed() {
        QWidget window;
        window.resize(300, 200);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));

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

    void providerAnswersWithoutShowingAndRecords() {
        MessageBox::setAnswerProvider(
            [](const MessageBox::Request &r) { return r.title == QLatin1String("yes"); });
        QVERIFY(MessageBox::showIsOk(QStringLiteral("yes"), QStringLiteral("a")));
        bool got = true;
        QWidget window;
        MessageBox::showIsOk(QStringLiteral("no"), QStringLiteral("b"), &window, QMessageBox::Critical,
                             [&](bool ok) { got = ok; });
        QVERIFY(!got);
        bool called = false;
        MessageBox::show(QStringLiteral("图片类型不正确"), QStringLiteral("上传图片失败"), nullptr,
                         QMessageBox::Warning, [&] { called = true; });
        QVERIFY(called);
        QCOMPARE(QApplication::activeModalWidget(), nullptr);

        const auto &shown = MessageBox::shown();
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
        QVERIFY(QTest::qWaitForWindowExposed(&window));
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
};

QUILLORA_X11_TEST_MAIN(TestEditorWidgets)
#include "tst_editor_widgets.moc"
