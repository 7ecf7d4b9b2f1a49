#include "app/appcontroller.h"
#include "app/mainwindow.h"
#include "app/session.h"
#include "app/trayicon.h"
#include "cloud/librarysync.h"
#include "library/homeview.h"
#include "library/phraselist.h"
#include "model/phrasecontent.h"
#include "quickbar/quickbar.h"
#include "quickbar/quickbarslot.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"

#include "cloudservice.h"
#include "desktop.h"
#include "pastetargetprocess.h"
#include "xvfbsession.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QToolButton>
#include <QtTest>

using namespace desktop;

// The quick bar as the application sets it up: signed in to a real service with the demo library,
// reached through the tray menu, its slots standing for the phrase list of the home window.
class TestQuickBarHome : public QObject {
    Q_OBJECT

    CloudService cloud_;
    PasteTargetProcess target_;
    AppController delegate_;
    HomeView *home_ = nullptr;
    QuickBar *bar_ = nullptr;

    QWidget *window() const { return delegate_.window(); }

    // Picks the quick bar's entry from the tray menu as the agent does: a real click on it. On a
    // loaded machine a popup can still be settling when the click lands and close unpicked; the
    // agent would open the menu again, and so does this.
    void pickTrayEntry() {
        QMenu *menu = delegate_.trayIcon()->menu();
        QAction *entry = delegate_.trayIcon()->quickBarAction;
        QSignalSpy picked(entry, &QAction::triggered);
        for (int attempt = 0; attempt < 3 && picked.isEmpty(); ++attempt) {
            menu->popup(QPoint(600, 150));
            QVERIFY(QTest::qWaitForWindowExposed(menu));
            QTest::qWait(300 + 500 * attempt);
            click(menu->mapToGlobal(menu->actionGeometry(entry).center()));
            QTRY_VERIFY(!menu->isVisible());
        }
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(cloud_.start());
        QCOMPARE(cloud_.run({QStringLiteral("demo")}), 0);
        qputenv("QUILLORA_SERVICE_URL", cloud_.baseUrl().toUtf8());
        qputenv("QUILLORA_AUTOLOGIN", "demo:demo123456");
        warmUpKeyboard();
        QVERIFY(target_.start(QStringLiteral("客服对话")));
        moveWindow(target_.window(), QRect(330, 300, 520, 120));

        delegate_.start();
        QTRY_VERIFY_WITH_TIMEOUT((home_ = qobject_cast<HomeView *>(
                                      qobject_cast<MainWindow *>(window())->contentView())) != nullptr,
                                 60000);
        QTRY_VERIFY_WITH_TIMEOUT(!delegate_.session()->librarySync().isRunning(), 60000);
        QTRY_COMPARE_WITH_TIMEOUT(home_->phraseList()->count(), 3, 30000);
        bar_ = delegate_.session()->quickBar();
        QVERIFY(bar_);
        // Only the tray entry brings it up.
        QVERIFY(!bar_->isVisible());

        // The agent goes back to the chat.
        QVERIFY(target_.activate());
        const TargetWindowTracker &tracker = delegate_.session()->tracker();
        QTRY_VERIFY_WITH_TIMEOUT(tracker.lastTarget() && tracker.lastTarget()->pid == target_.pid(), 10000);
    }

    void trayEntryPresentsTheBarAndTogglesTheWindow() {
        QAction *entry = delegate_.trayIcon()->quickBarAction;
        QVERIFY(entry);
        QVERIFY(delegate_.trayIcon()->menu()->actions().contains(entry));
        QSignalSpy picked(entry, &QAction::triggered);
        pickTrayEntry();
        QCOMPARE(picked.count(), 1);
        QTRY_VERIFY(bar_->isVisible());
        QVERIFY(QTest::qWaitForWindowExposed(bar_));
        QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), quint64(window()->winId()), 10000);
        // Not over the home window docked at the right edge.
        QTRY_VERIFY(!bar_->frameGeometry().intersects(window()->frameGeometry()));
        // Picked again while the window is in front, it closes the window and leaves the bar.
        pickTrayEntry();
        QTRY_VERIFY(!window()->isVisible());
        QVERIFY(bar_->isVisible());
        QVERIFY(target_.activate());
    }

    void hoverSelectsThePhraseRow() {
        PhraseList *list = home_->phraseList();
        pointerTo(centreOf(bar_->item(1)));
        QTRY_COMPARE(list->selectedRows, QList<int>{1});
        pointerTo(centreOf(bar_->item(8)));
        QTRY_VERIFY(bar_->item(8)->isHighlighted());
        QCOMPARE(list->selectedRows, QList<int>{1});
        QCOMPARE(activeWindow(), target_.window());
    }

    void tapSendsThePhraseOfTheShownClass() {
        QList<Phrase> phrases;
        for (int i = 0; i < home_->phraseList()->count(); ++i)
            phrases << home_->phraseList()->phraseAt(i).value();
        int row = -1;
        for (int i = 0; i < phrases.size() && row < 0; ++i)
            if (phrases[i].images.isEmpty())
                row = i;
        QVERIFY(row >= 0);
        QString expected = phrases[row].content.joinedText().value();
        expected.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
            .replace(QLatin1Char('\n'), QLatin1String("\\n"));

        const int before = target_.pasted().size();
        click(centreOf(bar_->item(row)));
        QTRY_COMPARE_WITH_TIMEOUT(target_.pasted().size(), before + 1, 10000);
        QCOMPARE(target_.pasted().last(), expected);
        QTRY_COMPARE_WITH_TIMEOUT(target_.enters(), 1, 10000);
        // The home window came forward, the chat program kept the focus.
        QVERIFY(window()->isVisible());
        QTRY_COMPARE(activeWindow(), target_.window());
        QTRY_VERIFY_WITH_TIMEOUT(!delegate_.session()->sender().isRunning(), 10000);

        const QByteArray shots = qgetenv("QUILLORA_SCREENSHOTS");
        if (!shots.isEmpty()) {
            pointerTo(centreOf(bar_->item(0)));
            QTest::qWait(1500);
            QGuiApplication::primaryScreen()->grabWindow(0).save(QString::fromLocal8Bit(shots) +
                                                                 "/quickbar-home.png");
        }
    }

    void searchFocusesTheSearchField() {
        click(centreOf(bar_->searchButton()));
        QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), quint64(window()->winId()), 10000);
        QTRY_COMPARE(QApplication::focusWidget(), static_cast<QWidget *>(home_->searchField()));
    }
};

QUILLORA_X11_TEST_MAIN_PREPARED(TestQuickBarHome, AppController::prepareProcess())

#include "tst_quickbar_home.moc"
