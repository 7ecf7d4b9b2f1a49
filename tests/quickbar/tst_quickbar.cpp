#include "desktop/x11/quickbarshortcuts.h"
#include "model/settings.h"
#include "quickbar/quickbar.h"
#include "quickbar/quickbarslot.h"
#include "sendtesting.h"
#include "xvfbsession.h"

#include "desktop.h"
#include "focuswatch.h"
#include "pastetargetprocess.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QScreen>
#include <QToolButton>
#include <QtTest>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

// The strip under a real window manager, clicked with real pointer events, sending into a real
// paste target through the send engine.

using namespace desktop;

namespace {

Phrase phrase(const QString &sign, const QString &text, int position) {
    Phrase word;
    word.sign = sign;
    word.parentSign = QStringLiteral("class-a");
    word.label = text;
    word.texts = text;
    word.position = position;
    const QJsonObject piece{{QStringLiteral("type"), 1}, {QStringLiteral("value"), text}};
    word.setJsonValue(QString::fromUtf8(QJsonDocument(QJsonArray{piece}).toJson(QJsonDocument::Compact)));
    return word;
}

} // namespace

class TestQuickBar : public QObject {
    Q_OBJECT

    PasteTargetProcess target_;
    Settings settings_;
    std::unique_ptr<SendTesting> send_;
    QuickBar *bar_ = nullptr;
    QWidget *home_ = nullptr;
    // What the home window shows; absent while no class is loaded.
    std::optional<QList<Phrase>> shown_;
    QList<int> selectedRows_;

    const QList<Phrase> greetings_{
        phrase(QStringLiteral("p1"), QStringLiteral("您好，在的，有什么可以帮助您的吗？"), 1),
        phrase(QStringLiteral("p2"), QStringLiteral("请稍等，我帮您查一下订单。"), 2),
        phrase(QStringLiteral("p3"), QStringLiteral("感谢您的耐心等待，祝您生活愉快！"), 3)};

    QStringList pasted() const { return target_.pasted(); }
    int enters() const { return target_.enters(); }
    // Lets the previous send finish, so that the next one is not dropped as overlapping.
    void settle() { QVERIFY(send_->settle()); }

private Q_SLOTS:
    void initTestCase() {
        warmUpKeyboard();
        QVERIFY(target_.start(QStringLiteral("客服对话")));
        // Beside the strip, so that the picture of the two tells the story.
        moveWindow(target_.window(), QRect(380, 470, 520, 120));

        send_ = std::make_unique<SendTesting>();
        send_->tracker().start();
        QTRY_COMPARE_WITH_TIMEOUT(send_->targetPid(), qint32(target_.pid()), 10000);

        home_ = new QWidget;
        home_->setWindowTitle(QStringLiteral("home"));
        home_->resize(300, 400);

        bar_ = new QuickBar(settings_, send_->sender());
        bar_->setListSource(
            [this](int row) -> std::optional<Phrase> {
                if (!shown_ || row >= shown_->size())
                    return std::nullopt;
                return shown_->at(row);
            },
            [this](int row) { selectedRows_ << row; });
        bar_->setHomeWindow(home_);
        shown_ = greetings_;
        bar_->present();
        QVERIFY(QTest::qWaitForWindowExposed(bar_));
        // On every workspace, above the others, out of task lists.
        QTRY_VERIFY(
            netWmState(bar_->winId())
                .contains({"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"}));
        QTRY_COMPARE(quint32(windowProperty(bar_->winId(), "_NET_WM_DESKTOP")), 0xFFFFFFFFu);
        QCOMPARE(activeWindow(), target_.window());
    }

    void cleanupTestCase() {
        delete bar_;
        delete home_;
    }

    void init() {
        settle();
        shown_ = greetings_;
        selectedRows_.clear();
        home_->hide();
    }

    void slotTwoSendsTheSecondPhraseWithEnter() {
        // Not even for a moment does the focus leave the chat program: a blink would drop what an
        // input method is composing there.
        FocusWatch watch(target_.window());
        const int before = pasted().size();
        for (int tap = 1; tap <= 2; ++tap) {
            click(centreOf(bar_->item(1)));
            QTRY_COMPARE_WITH_TIMEOUT(pasted().size(), before + tap, 10000);
            QCOMPARE(pasted().last(), greetings_[1].texts);
            QTRY_COMPARE_WITH_TIMEOUT(enters(), tap, 10000);
            settle();
            // The home window came forward to show what went out, without the focus.
            QVERIFY(home_->isVisible());
        }
        QTest::qWait(300);
        for (quint64 active : watch.activeWindows())
            QCOMPARE(active, target_.window());
        QCOMPARE(watch.focusLosses(), 0);
        QCOMPARE(activeWindow(), target_.window());
        QCOMPARE(bar_->selectedIndex(), -1);
    }

    void clickingTheStripKeepsTheChatProgramInFront() {
        QSignalSpy tapped(bar_, &QuickBar::tapped);
        const int before = pasted().size();
        const int entersBefore = enters();
        // Past the end of a class of three and the strip's background: none sends, none moves the
        // focus.
        for (QPoint at :
             {centreOf(bar_->item(4)), centreOf(bar_->item(11)), bar_->mapToGlobal(QPoint(2, 2))}) {
            click(at);
            QTest::qWait(400);
            QCOMPARE(activeWindow(), target_.window());
            QVERIFY(QGuiApplication::focusWindow() != bar_->windowHandle());
        }
        QCOMPARE(tapped.count(), 0);
        QCOMPARE(bar_->selectedIndex(), -1);
        QVERIFY(!home_->isVisible());
        // A real slot afterwards is the first thing the target gets: the empty ones sent nothing.
        click(centreOf(bar_->item(2)));
        QTRY_COMPARE_WITH_TIMEOUT(pasted().size(), before + 1, 10000);
        QCOMPARE(pasted().last(), greetings_[2].texts);
        QTRY_COMPARE_WITH_TIMEOUT(enters(), entersBefore + 1, 10000);
        QCOMPARE(tapped.count(), 1);
    }

    void theSameSlotTwiceSendsTwice() {
        const int before = pasted().size();
        click(centreOf(bar_->item(0)));
        QTRY_COMPARE_WITH_TIMEOUT(pasted().size(), before + 1, 10000);
        settle();
        click(centreOf(bar_->item(0)));
        QTRY_COMPARE_WITH_TIMEOUT(pasted().size(), before + 2, 10000);
        QCOMPARE(pasted().mid(before), QStringList({greetings_[0].texts, greetings_[0].texts}));
    }

    void theListIsReadAtTheMomentOfTheTap() {
        const int before = pasted().size();
        // Another class selected in the home window: the bar follows without being told.
        const Phrase other = phrase(QStringLiteral("q1"), QStringLiteral("订单已发货，请注意查收。"), 1);
        shown_ = QList<Phrase>{other};
        click(centreOf(bar_->item(1)));
        click(centreOf(bar_->item(0)));
        QTRY_COMPARE_WITH_TIMEOUT(pasted().size(), before + 1, 10000);
        QCOMPARE(pasted().last(), other.texts);
        settle();
        // No class loaded at all.
        shown_.reset();
        click(centreOf(bar_->item(0)));
        QTest::qWait(1500);
        QCOMPARE(pasted().size(), before + 1);
        QVERIFY(!send_->sender().isRunning());
    }

    void hoverSelectsTheRowOfTheShownList() {
        QSignalSpy highlighted(bar_, &QuickBar::highlighted);
        pointerTo(centreOf(bar_->item(2)));
        QTRY_COMPARE(selectedRows_, QList<int>{2});
        QVERIFY(bar_->item(2)->isHighlighted());
        QCOMPARE(bar_->item(2)->toolTip(), greetings_[2].texts);
        // Past the end nothing is selected.
        pointerTo(centreOf(bar_->item(6)));
        QTRY_VERIFY(bar_->item(6)->isHighlighted());
        QVERIFY(!bar_->item(2)->isHighlighted());
        QCOMPARE(selectedRows_, QList<int>{2});
        QCOMPARE(highlighted.count(), 1);
        pointerTo(centreOf(bar_->item(0)));
        QTRY_COMPARE(selectedRows_, QList<int>({2, 0}));
        QCOMPARE(activeWindow(), target_.window());

        const QByteArray shots = qgetenv("QUILLORA_SCREENSHOTS");
        if (!shots.isEmpty()) {
            // Hovering F2 shows what it would send.
            pointerTo(centreOf(bar_->item(1)));
            QTest::qWait(1500);
            QGuiApplication::primaryScreen()->grabWindow(0).save(QString::fromLocal8Bit(shots) +
                                                                 "/quickbar.png");
        }
    }

    void searchBringsTheHomeWindowWithItsField() {
        auto *field = new QLineEdit(home_);
        field->move(10, 10);
        bar_->setSearchField(field);
        QSignalSpy search(bar_, &QuickBar::searchClick);
        click(centreOf(bar_->searchButton()));
        QTRY_COMPARE(search.count(), 1);
        QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), quint64(home_->winId()), 10000);
        QTRY_COMPARE(QApplication::focusWidget(), field);
        // The agent types a search here; the chat program is still where phrases go.
        const int before = pasted().size();
        click(centreOf(bar_->item(0)));
        QTRY_COMPARE_WITH_TIMEOUT(pasted().size(), before + 1, 10000);
        QCOMPARE(pasted().last(), greetings_[0].texts);
        QTRY_COMPARE(activeWindow(), target_.window());
        bar_->setSearchField(nullptr);
        delete field;
    }

    void shortcutsSendThroughTheSlots() {
        const int before = pasted().size();
        const int entersBefore = enters();
        // Off until the settings ask for them.
        QVERIFY(bar_->applyShortcutSetting());
        pressWith({XK_Control_L, XK_Shift_L}, XK_F1);
        QVERIFY(!bar_->setShortcutModifiers(QStringLiteral("Ctrl+Hyper")));
        QVERIFY(!bar_->setShortcutModifiers(QStringLiteral("Ctrl+Alt")));
        settings_.setQuickBarShortcuts(QStringLiteral("Ctrl+Shift"));
        QVERIFY(bar_->applyShortcutSetting());
        pressWith({XK_Control_L, XK_Shift_L}, XK_F3);
        QTRY_COMPARE_WITH_TIMEOUT(pasted().size(), before + 1, 10000);
        QCOMPARE(pasted().mid(before), QStringList{greetings_[2].texts});
        QTRY_COMPARE_WITH_TIMEOUT(enters(), entersBefore + 1, 10000);
        settle();
        // Switched off again, the keys reach the chat program as before.
        settings_.setQuickBarShortcuts(QString());
        QVERIFY(bar_->applyShortcutSetting());
        pressWith({XK_Control_L, XK_Shift_L}, XK_F1);
        QTest::qWait(1500);
        QCOMPARE(pasted().size(), before + 1);
    }

    void theStripStaysWhereItWasDragged() {
        const QPoint start = bar_->pos();
        const QPoint grip = bar_->mapToGlobal(QPoint(3, 3));
        pointerTo(grip);
        QTest::qWait(100);
        button(true);
        for (int step = 1; step <= 5; ++step) {
            QTest::qWait(60);
            pointerTo(grip + QPoint(-30, -40) * step);
        }
        QTest::qWait(100);
        button(false);
        QTRY_COMPARE(bar_->pos(), start + QPoint(-150, -200));
        QCOMPARE(activeWindow(), target_.window());
        // The next bar, after a restart, comes up there.
        QTRY_VERIFY(!settings_.quickBarPosition().isEmpty());
        {
            QuickBar next(settings_, send_->sender());
            next.present();
            QCOMPARE(next.pos(), bar_->pos());
        }
        // Unless that place is no longer on any screen.
        settings_.setQuickBarPosition(QStringLiteral("5000,40"));
        QuickBar next(settings_, send_->sender());
        next.present();
        QCOMPARE(next.pos(), start);
    }

    void shortcutsTakenElsewhereAreReported() {
        // Another program already holds Ctrl+Shift+F4.
        Display *other = XOpenDisplay(nullptr);
        QVERIFY(other);
        XGrabKey(other, XKeysymToKeycode(other, XK_F4), ControlMask | ShiftMask, DefaultRootWindow(other),
                 False, GrabModeAsync, GrabModeAsync);
        XSync(other, False);
        QuickBarShortcuts keys;
        QSignalSpy pressed(&keys, &QuickBarShortcuts::pressed);
        QVERIFY(!keys.setModifiers(QStringLiteral("ctrl + shift")));
        QCOMPARE(keys.grabbedCount(), 11);
        pressWith({XK_Control_L, XK_Shift_L}, XK_F12);
        QTRY_COMPARE(pressed.count(), 1);
        QCOMPARE(pressed.at(0).at(0).toInt(), 11);
        // Num Lock on does not change the meaning of a shortcut.
        pressWith({}, XK_Num_Lock);
        pressWith({XK_Control_L, XK_Shift_L}, XK_F1);
        pressWith({}, XK_Num_Lock);
        QTRY_COMPARE(pressed.count(), 2);
        QCOMPARE(pressed.at(1).at(0).toInt(), 0);
        XCloseDisplay(other);
        // Once the other program lets go, a new grab gets all twelve.
        QVERIFY(keys.setModifiers(QStringLiteral("Ctrl+Shift")));
        QCOMPARE(keys.grabbedCount(), 12);
    }
};

QUILLORA_X11_TEST_MAIN(TestQuickBar)
#include "tst_quickbar.moc"
