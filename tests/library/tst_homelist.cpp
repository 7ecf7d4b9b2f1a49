#include "app/mainwindow.h"
#include "app/session.h"
#include "cloud/classoperations.h"
#include "cloud/cloudclient.h"
#include "cloud/librarysync.h"
#include "desktop/desktopbackend.h"
#include "library/classcell.h"
#include "library/classlist.h"
#include "library/homeview.h"
#include "library/librarypanel.h"
#include "library/phraselist.h"
#include "library/phraselistview.h"
#include "model/settings.h"
#include "send/targetwindowtracker.h"
#include "store/classstore.h"
#include "ui/elidedlabel.h"

#include "cloudservice.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QListWidget>
#include <QProcess>
#include <QSplitter>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <vector>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace {

const QString user = QStringLiteral("demo");

void writeFile(const QString &path, const QByteArray &text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("cannot write %s", qPrintable(path));
}

// A program started for the test and ended with it.
struct Program {
    QProcess process;
    ~Program() {
        process.terminate();
        if (!process.waitForFinished(5000))
            process.kill();
    }
};

} // namespace

class TestHomeList : public QObject {
    Q_OBJECT

    CloudService cloud_;
    QTemporaryDir systemData_;
    MainWindow *window_ = nullptr;
    Settings settings_;
    CloudClient client_{settings_};
    std::unique_ptr<Session> session_;
    HomeView *home_ = nullptr;

    ClassList *classes() const { return home_->libraryPanel->classList; }
    PhraseList *phrases() const { return home_->phraseList(); }
    QString label() const { return home_->libraryPanel->labelTextView->text(); }

    static void ctrlClick(QWidget *cell) { QTest::mouseClick(cell, Qt::LeftButton, Qt::ControlModifier); }
    void ctrlClickPhrase(int row) const {
        PhraseListView *view = phrases()->collectionView;
        const QRect rect = view->visualRect(view->model()->index(row, 0));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier,
                          QPoint(rect.left() + 20, rect.center().y()));
    }

    bool classInView(int row) const {
        QListWidget *strip = classes()->collectionView;
        const QRect rect = strip->visualItemRect(strip->item(row));
        return !rect.isEmpty() && strip->viewport()->rect().contains(rect);
    }

    static bool waitForCall(const std::function<void(CloudClient::Handler<void>)> &call) {
        std::optional<Result<void>> result;
        call([&](const Result<void> &r) { result = r; });
        return QTest::qWaitFor([&] { return result.has_value(); }, 20000) && result->isOk();
    }

    // Brings the program's window to the front and waits until "发送到" has followed it.
    bool target(const QProcess &program) {
        const qint32 pid = qint32(program.processId());
        DesktopBackend &desktop = session_->desktop();
        auto window = [pid, &desktop]() -> std::optional<RunningApplication> {
            for (const RunningApplication &a : desktop.runningApplications())
                if (a.pid == pid)
                    return a;
            return std::nullopt;
        };
        return QTest::qWaitFor([&] { return window().has_value(); }, 20000) &&
               QTest::qWaitFor(
                   [&] {
                       const auto last = session_->tracker().lastTarget();
                       if (last && last->pid == pid)
                           return true;
                       if (const auto w = window())
                           desktop.activate(*w);
                       return false;
                   },
                   20000);
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(cloud_.start());
        QVERIFY(cloud_.run({"demo"}) == 0);
        qputenv("QUILLORA_SERVICE_URL", cloud_.baseUrl().toUtf8());
        // Desktop entries come only from the test's own folders.
        qputenv("XDG_DATA_DIRS", systemData_.path().toLocal8Bit());

        std::optional<Result<QString>> login;
        client_.signIn(user, QStringLiteral("demo123456"), [&](const Result<QString> &r) { login = r; });
        QTRY_VERIFY_WITH_TIMEOUT(login.has_value(), 20000);
        QVERIFY(login->isOk());

        session_ = std::make_unique<Session>(settings_, client_, login->value());
        window_ = new MainWindow;
        home_ = new HomeView(session_->library(), session_->storeOpened());
        window_->setContentView(home_);
        window_->show();
        QVERIFY(QTest::qWaitForWindowExposed(window_, 20000));
        session_->start(*home_);
        QTRY_VERIFY_WITH_TIMEOUT(!session_->librarySync().isRunning(), 30000);
        QTRY_COMPARE_WITH_TIMEOUT(classes()->dataSource.size(), 3, 20000);
        QTRY_COMPARE_WITH_TIMEOUT(phrases()->count(), 3, 20000);
    }

    // The label above the lists names the shown class as it is now, after a rename here or a
    // synchronisation that brings one from the service; the phrase list keeps its selection.
    void labelFollowsARenameOfTheShownClass() {
        classes()->setSelectIndex(0);
        const QString sign = classes()->dataSource[0].sign;
        phrases()->setSelection({1});
        QCOMPARE(label(), classes()->dataSource[0].label + "(3)");

        session_->library().classOperations.setLabel(sign, QStringLiteral("常用回复"));
        QTRY_COMPARE_WITH_TIMEOUT(classes()->dataSource[0].label, QStringLiteral("常用回复"), 20000);
        QCOMPARE(label(), QStringLiteral("常用回复(3)"));
        QCOMPARE(classes()->cellAt(0)->label->text(), QStringLiteral("常用回复"));
        QCOMPARE(phrases()->selectedRows, QList<int>{1});

        // Renamed on the service by another device: the next synchronisation brings the name.
        QVERIFY(waitForCall([&](CloudClient::Handler<void> done) {
            client_.renameClass(sign, "问候语", user, std::move(done));
        }));
        QCOMPARE(session_->classStore().getData(sign)->label, QStringLiteral("常用回复"));
        home_->libraryPanel->cloudButtonClick();
        QTRY_COMPARE_WITH_TIMEOUT(label(), QStringLiteral("问候语(3)"), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(!session_->librarySync().isRunning(), 20000);
        QCOMPARE(label(), QStringLiteral("问候语(3)"));
    }

    // Ctrl+click takes a row out of a selection of several, but never the last selected row.
    void listsKeepTheirLastSelectedRow() {
        classes()->setSelectIndex(0);
        const QString firstLabel = label();
        ctrlClick(classes()->cellAt(0));
        QCOMPARE(classes()->selectedRows, QList<int>{0});
        QVERIFY(classes()->cellAt(0)->isSelect());
        QCOMPARE(label(), firstLabel);
        QCOMPARE(phrases()->count(), 3);

        ctrlClick(classes()->cellAt(1));
        QCOMPARE(classes()->selectedRows, (QList<int>{0, 1}));
        ctrlClick(classes()->cellAt(1));
        QCOMPARE(classes()->selectedRows, QList<int>{0});
        QCOMPARE(label(), firstLabel);

        phrases()->setSelection({1});
        ctrlClickPhrase(1);
        QCOMPARE(phrases()->selectedRows, QList<int>{1});
        ctrlClickPhrase(2);
        QCOMPARE(phrases()->selectedRows, (QList<int>{1, 2}));
        ctrlClickPhrase(1);
        QCOMPARE(phrases()->selectedRows, QList<int>{2});
        // The keyboard's toggle is refused the same way.
        phrases()->collectionView->selectionModel()->setCurrentIndex(
            phrases()->collectionView->model()->index(2, 0), QItemSelectionModel::NoUpdate);
        phrases()->collectionView->setFocus();
        QTest::keyClick(phrases()->collectionView, Qt::Key_Space, Qt::ControlModifier);
        QCOMPARE(phrases()->selectedRows, QList<int>{2});
    }

    // The strip is one row high: each class made here, and each class selected, is scrolled to.
    void newAndSelectedClassesComeIntoView() {
        QCOMPARE(home_->libraryPanel->splitView->sizes().first(), LibraryPanel::classStripHeight);
        const QStringList made{"退货与换货政策说明", "物流配送与时效查询", "发票开具与报销问题",
                               "会员积分与优惠活动"};
        for (const QString &name : made) {
            std::optional<Result<void>> result;
            session_->library().classOperations.create(name, [&](const Result<void> &r) { result = r; });
            QTRY_VERIFY_WITH_TIMEOUT(result.has_value(), 20000);
            QVERIFY(result->isOk());
            const int row = int(classes()->dataSource.size()) - 1;
            QCOMPARE(classes()->dataSource[row].label, name);
            QVERIFY2(classInView(row), qPrintable(name));
        }
        // The strip did wrap: the first and the last class are never in view together.
        const int last = int(classes()->dataSource.size()) - 1;
        QVERIFY(!classInView(0));

        classes()->setSelection({0});
        QVERIFY(classInView(0));
        QVERIFY(!classInView(last));
        classes()->setSelection({last});
        QVERIFY(classInView(last));
        QCOMPARE(label(), made.last() + "(0)");
    }

    // "发送到" names the program as the application menu does, not the title of its window.
    void sendToNamesTheProgram() {
        const QString userApps =
            QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/applications/";
        writeFile(userApps + "org.xfce.mousepad.desktop", "[Desktop Entry]\n"
                                                          "Type=Application\n"
                                                          "Name=Mousepad\n"
                                                          "Name[zh_CN]=鼠标记事本\n"
                                                          "Exec=mousepad %U\n"
                                                          "[Desktop Action preferences]\n"
                                                          "Name[zh_CN]=首选项\n");
        writeFile(systemData_.filePath("applications/terminals/quillora-term.desktop"),
                  "# a terminal found by its window class\n"
                  "[Desktop Entry]\n"
                  "Type=Application\n"
                  "Name=Chat\\sTerminal\n"
                  "Name[zh]=聊天终端\n"
                  "StartupWMClass=XTerm\n"
                  "Exec=xterm\n");
        qputenv("LC_MESSAGES", "zh_CN.UTF-8");

        QTemporaryDir docs;
        const QString document = docs.filePath("客户回访记录.txt");
        writeFile(document, "hello\n");
        Program editor;
        editor.process.start("mousepad", {document});
        QVERIFY(target(editor.process));
        QTRY_COMPARE_WITH_TIMEOUT(home_->targetName->text(), QStringLiteral("鼠标记事本"), 5000);

        Program terminal;
        terminal.process.start("xterm", {"-T", "客户 A 的聊天", "-e", "sleep", "120"});
        QVERIFY(target(terminal.process));
        QTRY_COMPARE_WITH_TIMEOUT(home_->targetName->text(), QStringLiteral("聊天终端"), 5000);

        // No entry for the class: the class name.
        Program other;
        other.process.start("xterm", {"-class", "Supportdesk", "-T", "工单 42", "-e", "sleep", "120"});
        QVERIFY(target(other.process));
        QTRY_COMPARE_WITH_TIMEOUT(home_->targetName->text(), QStringLiteral("Supportdesk"), 5000);

        // A window that announces its application id is named by the entry of that id; an entry
        // that hides itself counts as none.
        writeFile(userApps + "org.example.Helpdesk.desktop", "[Desktop Entry]\n"
                                                             "Type=Application\n"
                                                             "Name=Helpdesk\n"
                                                             "Name[zh_CN]=客服工作台\n");
        writeFile(userApps + "org.example.Removed.desktop", "[Desktop Entry]\n"
                                                            "Type=Application\n"
                                                            "Name=Removed\n"
                                                            "Hidden=true\n");
        QTemporaryDir logs;
        Program helpdesk;
        helpdesk.process.start(PASTETARGET_BINARY,
                               {"--log", logs.filePath("a.log"), "--class", "Chat", "--desktop-id",
                                "org.example.Helpdesk", "--title", "会话"});
        QVERIFY(target(helpdesk.process));
        QTRY_COMPARE_WITH_TIMEOUT(home_->targetName->text(), QStringLiteral("客服工作台"), 5000);
        // The program changes its icon while it is in front: the home window shows the new one.
        auto iconColour = [this] {
            const QImage shown = home_->targetIcon->pixmap().toImage();
            return shown.isNull() ? QColor() : shown.pixelColor(shown.width() / 2, shown.height() / 2);
        };
        QTRY_COMPARE_WITH_TIMEOUT(iconColour(), QColor(200, 30, 60), 5000);
        std::vector<long> green{16, 16};
        green.resize(2 + 16 * 16, long(0xff00c000));
        Display *dpy = XOpenDisplay(nullptr);
        XChangeProperty(dpy, Window(session_->tracker().lastTarget()->window),
                        XInternAtom(dpy, "_NET_WM_ICON", False), XA_CARDINAL, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char *>(green.data()), int(green.size()));
        XCloseDisplay(dpy);
        QTRY_COMPARE_WITH_TIMEOUT(iconColour(), QColor(0, 0xc0, 0), 5000);
        Program removed;
        removed.process.start(PASTETARGET_BINARY, {"--log", logs.filePath("b.log"), "--desktop-id",
                                                   "org.example.Removed", "--title", "会话"});
        QVERIFY(target(removed.process));
        QTRY_COMPARE_WITH_TIMEOUT(home_->targetName->text(), QStringLiteral("org.example.Removed"), 5000);
        qunsetenv("LC_MESSAGES");
    }

    void cleanupTestCase() {
        delete window_;
        window_ = nullptr;
        session_.reset();
    }
};

QUILLORA_X11_TEST_MAIN(TestHomeList)
#include "tst_homelist.moc"
