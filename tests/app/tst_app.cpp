#include "app/appcontroller.h"
#include "app/mainwindow.h"
#include "app/session.h"
#include "app/signinview.h"
#include "app/webpageopener.h"
#include "app/webviewmodule.h"
#include "cloud/cloudclient.h"
#include "cloud/librarysync.h"
#include "cloud/phraseoperations.h"
#include "desktop/desktopbackend.h"
#include "editor/pictureuploaddialog.h"
#include "library/classcell.h"
#include "library/classlist.h"
#include "library/homeview.h"
#include "library/keywordcolouring.h"
#include "library/librarypanel.h"
#include "library/phraseidmodel.h"
#include "library/phraselist.h"
#include "library/phraselistview.h"
#include "library/phraserowdelegate.h"
#include "library/searchresultlist.h"
#include "model/settings.h"
#include "quickbar/quickbar.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "store/phrasestore.h"
#include "ui/elidedlabel.h"
#include "ui/imagebutton.h"
#include "ui/messageboxanswerer.h"
#include "ui/sendbutton.h"

#include "cloudservice.h"
#include "scriptedresponder.h"
#include "xvfbsession.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QSplitter>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QTimer>
#include <QToolButton>
#include <QtTest>
#include <iostream>

namespace {

// Records double clicks reported by a row background.
// Prints the address the program asked the desktop to open (the child's stand-in for a browser).
class UrlCatcher : public QObject {
    Q_OBJECT
public Q_SLOTS:
    void open(const QUrl &url) { std::cout << "open:" << url.toString().toStdString() << std::endl; }
};

// Records the addresses the program asked the desktop to open.
class UrlRecorder : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public Q_SLOTS:
    void open(const QUrl &url) { urls.append(url); }
};

// The child of the version-gate test: one sign-in window whose boxes answer themselves.
int gateChild(int argc, char **argv) {
    AppController::prepareProcess();
    QApplication app(argc, argv);
    MessageBoxAnswerer answerer([](const MessageBoxAnswerer::Request &r) {
        std::cout << "box:" << r.title.toStdString() << "|" << r.text.toStdString() << std::endl;
        return true;
    });
    if (qEnvironmentVariableIsSet("QUILLORA_TEST_DB_CHILD")) {
        // The home view over a database that cannot be opened: a box, then an empty library.
        Settings settings;
        CloudClient cloud(settings);
        Session session(settings, cloud, QStringLiteral("someone"));
        HomeView home(session.library(), session.storeOpened());
        QTimer::singleShot(1000, &app, [&home] {
            std::cout << "classes=" << home.libraryPanel->classList->dataSource.size() << std::endl;
            QCoreApplication::exit(0);
        });
        return app.exec();
    }
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler("https", &catcher, "open");
    QDesktopServices::setUrlHandler("http", &catcher, "open");
    AppController controller;
    controller.start();
    auto *login = qobject_cast<SignInView *>(controller.window()->contentView());
    QObject::connect(login, &SignInView::ready, &app, [login] {
        std::cout << "ready enabled=" << login->loginButton->isEnabled() << std::endl;
        QCoreApplication::exit(0);
    });
    std::cout << "shown enabled=" << login->loginButton->isEnabled() << std::endl;
    QTimer::singleShot(30000, &app, [] { QCoreApplication::exit(3); });
    return app.exec();
}

// Every shown phrase, read from the store as the list would read its rows.
QList<Phrase> shownPhrases(const PhraseList *list) {
    QList<Phrase> rows;
    for (int i = 0; i < list->count(); ++i)
        rows.append(list->phraseAt(i).value());
    return rows;
}

// A point on a row of a list view: its text, or its send button.
QPoint rowPoint(const PhraseListView *view, int row, bool sendButton = false) {
    const QRect rect = view->visualRect(view->model()->index(row, 0));
    return sendButton ? view->rowDelegate()->sendButtonRect(rect).center()
                      : QPoint(rect.left() + 20, rect.center().y());
}

QList<QString> signsOf(const QList<Phrase> &rows) {
    QList<QString> out;
    for (const auto &r : rows)
        out.append(r.sign);
    return out;
}

} // namespace

class TestApp : public QObject {
    Q_OBJECT

    CloudService cloud_;
    WebViewModule webView_;
    std::unique_ptr<AppController> app_;
    MainWindow *window_ = nullptr;
    HomeView *home_ = nullptr;

    // The application's window with a sign-in view whose gate has let the user through.
    static std::unique_ptr<AppController> openLogin(SignInView **loginOut) {
        auto app = std::make_unique<AppController>();
        app->start();
        auto *login = qobject_cast<SignInView *>(app->window()->contentView());
        QSignalSpy ready(login, &SignInView::ready);
        if (!ready.wait(20000) && ready.isEmpty())
            qWarning("the version gate did not answer");
        *loginOut = login;
        return app;
    }

    HomeView *signIn(MainWindow *window, SignInView *login, const QString &name, const QString &password,
                     bool remember) {
        login->usernameText->setText(name);
        login->passwordText->setText(password);
        login->checkBox->setChecked(remember);
        QTest::mouseClick(login->loginButton, Qt::LeftButton);
        HomeView *home = nullptr;
        (void)QTest::qWaitFor([&] { return (home = qobject_cast<HomeView *>(window->contentView())); },
                              20000);
        // One synchronisation runs at a time: let this one end before another sign-in starts its own.
        if (home)
            (void)QTest::qWaitFor([home] { return home->libraryPanel->loadingBar->isHidden(); }, 30000);
        return home;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(cloud_.start());
        QVERIFY(cloud_.run({"demo"}) == 0);
        QVERIFY(cloud_.addUser("alice", "secret-1"));
        qputenv("QUILLORA_SERVICE_URL", cloud_.baseUrl().toUtf8());
        qunsetenv("QUILLORA_AUTOLOGIN");
        qputenv("QUILLORA_WEBVIEW_MODULE", WEBVIEW_MODULE);
    }

    void keywordColouring() {
        namespace C = KeywordColouring;
        const QColor green(87, 159, 43);
        auto ranges = C::rangesOf("xabyab", "ab");
        QCOMPARE(ranges.size(), 2);
        auto s = C::setKeyColor("xabyab", "ab", green);
        // the second occurrence ends at the end of the text and stays plain
        QCOMPARE(s.runs.size(), 1);
        QCOMPARE(s.runs[0].location, 1);
        QCOMPARE(s.runs[0].length, 2);
        QCOMPARE(s.runs[0].color, green);
        QVERIFY(!s.runs[0].lineThrough);

        ranges = C::rangesOf("aaaa", "aa");
        QCOMPARE(ranges, (QList<QPair<qsizetype, qsizetype>>{{0, 2}, {2, 2}}));
        QCOMPARE(C::setKeyColor("aaaa", "aa", green).runs.size(), 1);

        QVERIFY(C::setKeyColor("Hello hello!", "HELLO", green).runs.isEmpty()); // case matters
        s = C::setKeyColor("a-b-a-", "a", green, true);
        QCOMPARE(s.runs.size(), 2);
        QVERIFY(s.runs[1].lineThrough);
        QVERIFY(C::setKeyColor("abc", "", green).runs.isEmpty());
        QVERIFY(C::setKeyColor("", "a", green).runs.isEmpty());

        const QString html = C::setKeyColor("<b>订单</b>号", "订单", green).toHtml();
        QVERIFY(html.contains("&lt;b&gt;"));
        QVERIFY(html.contains("color:#579f2b"));
        // Shortened: the kept part keeps its colours, what was cut is not shown, an ellipsis follows.
        const auto long_ = C::setKeyColor("ab-ab-ab-ab-x", "ab", green);
        QCOMPARE(long_.runs.size(), 4);
        const QString shortened = long_.toHtml(4);
        QCOMPARE(shortened.count("<span"), 2);
        QVERIFY(shortened.endsWith("…"));
        QVERIFY(!shortened.contains("-x"));
        QCOMPARE(long_.toHtml(3).count("<span"), 1);

        s = C::setKeyColorAll("red and blue and", {"red", "blue"}, QList<QColor>{Qt::red, Qt::blue});
        QCOMPARE(s.runs.size(), 2);
        QCOMPARE(s.runs[1].color, QColor(Qt::blue));
    }

    void versionGate_data() {
        QTest::addColumn<QByteArray>("reply"); // empty: nothing listens
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("no service") << QByteArray() << 1
                                    << QStringList{"shown enabled=0", "box:失败|网络连接失败"};
        QTest::newRow("version 0") << QByteArray("{\"state\":1,\"version\":0}") << 1
                                   << QStringList{"box:失败|网络连接失败"};
        QTest::newRow("version 2") << QByteArray(
                                          "{\"state\":1,\"version\":2,\"url\":\"https://dl.example/q.deb\"}")
                                   << 1
                                   << QStringList{"box:请更新|版本过于老旧,请前往官网下载新版 网址 ",
                                                  "open:https://dl.example/q.deb"};
        QTest::newRow("version 1") << QByteArray("{\"state\":1,\"version\":1}") << 0
                                   << QStringList{"ready enabled=1"};
        QTest::newRow("real service") << QByteArray("real") << 0 << QStringList{"ready enabled=1"};
    }

    void versionGate() {
        QFETCH(QByteArray, reply);
        QFETCH(int, status);
        QFETCH(QStringList, expected);
        ScriptedResponder responder;
        QString url = "http://127.0.0.1:1";
        if (reply == "real") {
            url = cloud_.baseUrl();
        } else if (!reply.isEmpty()) {
            QVERIFY(responder.listen());
            responder.on("/api/util/osx/getVersionForm", ScriptedResponder::json(reply));
            url = responder.baseUrl();
        }
        QProcess child;
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert("QUILLORA_TEST_GATE_CHILD", "1");
        env.insert("QUILLORA_SERVICE_URL", url);
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(), {});
        QVERIFY(child.waitForStarted(10000));
        QTRY_VERIFY_WITH_TIMEOUT(child.state() == QProcess::NotRunning, 60000);
        const QString out = QString::fromUtf8(child.readAllStandardOutput());
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QVERIFY2(child.exitCode() == status, qPrintable(out));
        for (const QString &line : expected)
            QVERIFY2(out.contains(line), qPrintable(out));
        if (status == 1)
            QVERIFY(!out.contains("ready"));
    }

    // The quick-bar entry toggles the window; reopening shows it only when none is visible.
    void iconTogglesTheWindow() {
        AppController app;
        app.start();
        MainWindow *window = app.window();
        QVERIFY(qobject_cast<SignInView *>(window->contentView()));
        window->activateWindow();
        QTRY_VERIFY_WITH_TIMEOUT(window->isActiveWindow(), 20000);
        app.toggleFromTray();
        QTRY_VERIFY_WITH_TIMEOUT(!window->isVisible(), 10000);
        app.toggleFromTray();
        QTRY_VERIFY_WITH_TIMEOUT(window->isVisible(), 10000);
        app.reopen(true);
        QVERIFY(window->isVisible());
        window->hide();
        app.reopen(false);
        QTRY_VERIFY_WITH_TIMEOUT(window->isVisible(), 10000);
    }

    // The upload dialog waits for the service without holding a pool thread: with one CPU that
    // thread is the only one, and quitting waits for it.
    void uploadDialogWaitsWithoutAPoolThread() {
        ScriptedResponder responder;
        QVERIFY(responder.listen());
        ScriptedResponder::Reply never;
        never.never = true;
        responder.on("/api/word/image/imageNameExist", never);
        qputenv("QUILLORA_SERVICE_URL", responder.baseUrl().toUtf8());
        {
            Settings settings;
            CloudClient client(settings);
            PictureUploadDialog dialog(
                client, client.username(),
                PhraseContent::fromJson(R"([{"type":2,"value":"a.png"},{"type":2,"value":"b.png"}])"), {});
            dialog.show();
            QTRY_COMPARE_WITH_TIMEOUT(responder.requestsTo("/api/word/image/imageNameExist").size(), 1,
                                      20000);
            QVERIFY(dialog.isRunning());
            QCOMPARE(QThreadPool::globalInstance()->activeThreadCount(), 0);
        }
        qputenv("QUILLORA_SERVICE_URL", cloud_.baseUrl().toUtf8());
    }

    void unreadableDatabaseIsReported() {
        QTemporaryDir home;
        // A folder where the database file should be: SQLite cannot open it.
        QVERIFY(QDir().mkpath(home.filePath("appData/database/database.sqlite3")));
        QProcess child;
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert("QUILLORA_TEST_GATE_CHILD", "1");
        env.insert("QUILLORA_TEST_DB_CHILD", "1");
        env.insert("QUILLORA_HOME", home.path());
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(), {});
        QVERIFY(child.waitForStarted(10000));
        QTRY_VERIFY_WITH_TIMEOUT(child.state() == QProcess::NotRunning, 60000);
        const QString out = QString::fromUtf8(child.readAllStandardOutput());
        QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0, qPrintable(out));
        QVERIFY2(out.contains("box:无法打开数据库|"), qPrintable(out));
        QVERIFY2(out.contains(home.filePath("appData/database/database.sqlite3")), qPrintable(out));
        QVERIFY2(out.contains("classes=0"), qPrintable(out));
    }

    void signInRemembersWhenAsked() {
        QList<MessageBoxAnswerer::Request> boxes;
        MessageBoxAnswerer answerer([&](const MessageBoxAnswerer::Request &r) {
            boxes.append(r);
            return true;
        });
        // A wrong password: the service's text in the box, the window stays as it was.
        SignInView *login = nullptr;
        auto windowApp = openLogin(&login);
        MainWindow *window = windowApp->window();
        QVERIFY(login->loginButton->isEnabled());
        QVERIFY(login->usernameText->text().isEmpty());
        login->usernameText->setText("alice");
        login->passwordText->setText("wrong");
        QTest::mouseClick(login->loginButton, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(boxes.size(), 1, 20000);
        QCOMPARE(boxes[0].title, QString("登录失败"));
        QVERIFY(!boxes[0].text.isEmpty());
        QCOMPARE(window->contentView(), login);

        HomeView *home = signIn(window, login, "alice", "secret-1", true);
        QVERIFY(home);
        QCOMPARE(windowApp->session()->username(), QString("alice"));
        QCOMPARE(Settings().password(), QString("secret-1"));
        QVERIFY(Settings().rememberPassword());
        windowApp.reset();

        // The next start fills the form.
        auto againApp = openLogin(&login);
        MainWindow *again = againApp->window();
        QCOMPARE(login->usernameText->text(), QString("alice"));
        QCOMPARE(login->passwordText->text(), QString("secret-1"));
        QVERIFY(login->checkBox->isChecked());

        // Signing in without the box forgets the password but keeps the name.
        QVERIFY(signIn(again, login, "alice", "secret-1", false));
        QCOMPARE(Settings().password(), QString());
        QVERIFY(!Settings().rememberPassword());
        QCOMPARE(Settings().username(), QString("alice"));
        againApp.reset();
        const auto thirdApp = openLogin(&login);
        QVERIFY(login->usernameText->text().isEmpty());
        QVERIFY(login->passwordText->text().isEmpty());
        QVERIFY(!login->checkBox->isChecked());
    }

    // The register link's page, shown by the web view module: an account made there can sign in.
    void registerInTheWebViewThenSignIn() {
        QString error;
        WebPageOpener *opener = webView_.opener(&error);
        QVERIFY2(opener, qPrintable(error));
        Settings settings;
        const QString registerUrl = CloudClient(settings).registerUrl();
        QCOMPARE(registerUrl, cloud_.baseUrl() + "/#/mobile_register");
        std::unique_ptr<QDialog> web(opener->createWindow(QUrl(registerUrl), nullptr));
        QVERIFY(web->isModal());
        QSignalSpy loaded(web.get(), SIGNAL(loadFinished(bool)));
        web->show();
        QTRY_VERIFY_WITH_TIMEOUT(!loaded.isEmpty(), 90000);
        QVERIFY(loaded.first().first().toBool());
        opener->runJavaScript(web.get(),
                              "document.getElementById('r-name').value='bob';"
                              "document.getElementById('r-pass').value='bob-pass-1';"
                              "document.getElementById('r-pass2').value='bob-pass-1';"
                              "document.getElementById('register-form').requestSubmit();",
                              {});
        auto message = std::make_shared<QString>();
        QTRY_VERIFY_WITH_TIMEOUT(
            (opener->runJavaScript(web.get(), "document.getElementById('r-msg').className",
                                   [message](const QVariant &v) { *message = v.toString(); }),
             message->contains("done")),
            30000);
        web.reset();

        SignInView *login = nullptr;
        auto windowApp = openLogin(&login);
        MainWindow *window = windowApp->window();
        QVERIFY(signIn(window, login, "bob", "bob-pass-1", false));
        QCOMPARE(windowApp->session()->username(), QString("bob"));
    }

    // Each link opens its page in a modal window over the sign-in window.
    void linksOpenTheirPageInAModalWindow() {
        WebPageOpener *opener = webView_.opener();
        QVERIFY(opener);
        SignInView *login = nullptr;
        auto windowApp = openLogin(&login);
        MainWindow *window = windowApp->window();
        const QList<std::pair<QPushButton *, QString>> links{{login->registerLink, "/#/mobile_register"},
                                                             {login->resetLink, "/#/mobile_reset"}};
        for (const auto &[link, page] : links) {
            QPointer<QDialog> shown;
            QWidget *shownOver = nullptr;
            bool wasModal = false;
            auto href = std::make_shared<QString>();
            // The link's window runs its own event loop: look at it from there, then close it.
            QTimer poll;
            QElapsedTimer waited;
            waited.start();
            connect(&poll, &QTimer::timeout, this, [&, href] {
                if (!shown && (shown = qobject_cast<QDialog *>(QApplication::activeModalWidget()))) {
                    shownOver = shown->parentWidget();
                    wasModal = shown->isModal();
                }
                // about:blank until the page has started loading
                const bool loading = href->startsWith("http");
                if (shown && !loading)
                    opener->runJavaScript(shown, "location.href",
                                          [href](const QVariant &v) { *href = v.toString(); });
                if ((shown && loading) || waited.elapsed() > 90000) {
                    poll.stop();
                    if (QWidget *modal = QApplication::activeModalWidget())
                        modal->close();
                }
            });
            poll.start(100);
            link->click();
            // The window is gone once closed.
            QVERIFY(!shown);
            QVERIFY(wasModal);
            QCOMPARE(shownOver, window);
            QCOMPARE(*href, cloud_.baseUrl() + page);
        }
    }

    // The application looks for the module next to itself; the build puts it there.
    void theModuleLiesNextToTheApplication() {
        const QString module = QFileInfo(QUILLORA_APP).absoluteDir().filePath("quillora-webview.so");
        QCOMPARE(QFileInfo(module).canonicalFilePath(), QFileInfo(WEBVIEW_MODULE).canonicalFilePath());
        qunsetenv("QUILLORA_WEBVIEW_MODULE");
        QCOMPARE(WebViewModule::fileName(), QCoreApplication::applicationDirPath() + "/quillora-webview.so");
        qputenv("QUILLORA_WEBVIEW_MODULE", module.toUtf8());
        QString error;
        QVERIFY2(webView_.opener(&error), qPrintable(error));
        qputenv("QUILLORA_WEBVIEW_MODULE", WEBVIEW_MODULE);
    }

    // Without the module a box gives the reason and offers the default browser instead.
    void withoutTheModuleTheBrowserIsOffered() {
        QTemporaryDir dir;
        const QString missing = dir.filePath("quillora-webview.so");
        const QString broken = dir.filePath("broken.so");
        QFile file(broken);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("not a module");
        file.close();
        UrlRecorder browser;
        QDesktopServices::setUrlHandler("http", &browser, "open");
        QList<MessageBoxAnswerer::Request> boxes;
        bool answer = false;
        MessageBoxAnswerer answerer([&](const MessageBoxAnswerer::Request &r) {
            boxes.append(r);
            return answer;
        });
        Settings settings;
        const QUrl page(CloudClient(settings).resetUrl());
        for (const QString &module : {missing, broken}) {
            qputenv("QUILLORA_WEBVIEW_MODULE", module.toUtf8());
            QString error;
            QVERIFY(!webView_.opener(&error));
            QVERIFY2(error.contains(module), qPrintable(error));
            for (bool yes : {false, true}) {
                boxes.clear();
                browser.urls.clear();
                answer = yes;
                webView_.open(page, nullptr);
                QTRY_COMPARE_WITH_TIMEOUT(boxes.size(), 1, 10000);
                QVERIFY(boxes[0].twoButtons);
                QVERIFY(boxes[0].text.contains(error));
                QVERIFY(boxes[0].text.contains(page.toString()));
                QCOMPARE(browser.urls, yes ? QList<QUrl>{page} : QList<QUrl>{});
            }
        }
        QDesktopServices::unsetUrlHandler("http");
        qputenv("QUILLORA_WEBVIEW_MODULE", WEBVIEW_MODULE);
        QVERIFY(webView_.opener());
    }

    void homeShowsTheSyncedLibrary() {
        SignInView *login = nullptr;
        app_ = openLogin(&login);
        window_ = app_->window();
        home_ = signIn(window_, login, "demo", "demo123456", false);
        QVERIFY(home_);
        LibraryPanel *word = home_->libraryPanel;
        ClassList *classes = word->classList;
        PhraseList *phrases = home_->phraseList();
        QTRY_COMPARE_WITH_TIMEOUT(classes->dataSource.size(), 3, 20000);
        QTRY_VERIFY_WITH_TIMEOUT(word->loadingBar->isHidden() && !word->cloudButton->isHidden(), 20000);
        QCOMPARE(classes->dataSource[1].label, QString("售后服务"));
        QCOMPARE(classes->selectedRows, QList<int>{0});
        QTRY_COMPARE_WITH_TIMEOUT(phrases->count(), 3, 20000);
        QCOMPARE(word->labelTextView->text(), classes->dataSource[0].label + "(3)");
        QCOMPARE(phrases->phraseAt(0)->label, QString("问候"));
        QCOMPARE(PhraseRowDelegate::previewOf(phrases->phraseAt(0)->content),
                 QString("您好，很高兴为您服务！请问有什么可以帮您？"));

        // Docked at the right edge, full height, 5 pixels from the edge, in the window manager's own
        // frame: its title bar sits above the content.
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        const QRect docked(screen.width() - 305, 0, 300, screen.height());
        QVERIFY(!(window_->windowFlags() & Qt::FramelessWindowHint));
        QTRY_COMPARE_WITH_TIMEOUT(window_->frameGeometry(), docked, 10000);
        QVERIFY(window_->geometry().top() > docked.top());
        QVERIFY(app_->session()->isStarted());
        // The home window's own way to the quick bar, for desktops without a tray.
        QWidget *bar = app_->session()->quickBar();
        QVERIFY(bar && !bar->isVisible());
        QTest::mouseClick(home_->quickBarButton, Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(bar->isVisible(), 10000);
        QTest::mouseClick(home_->quickBarButton, Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(!bar->isVisible(), 10000);

        // The class strip is one row high over the phrase list.
        QCOMPARE(word->splitView->sizes().first(), LibraryPanel::classStripHeight);

        // Another class: its label, count and phrases, with a picture shown as [图].
        classes->setSelectIndex(1);
        QCOMPARE(word->labelTextView->text(), QString("售后服务(2)"));
        QCOMPARE(phrases->count(), 2);
        QCOMPARE(PhraseRowDelegate::previewOf(phrases->phraseAt(1)->content),
                 QString("请按下图操作：\n[图]\n如有疑问请随时联系我们。"));

        // Appearing again docks again and starts nothing twice.
        QSignalSpy started(app_->session(), &Session::started);
        window_->move(10, 10);
        window_->hide();
        window_->show();
        QTRY_COMPARE_WITH_TIMEOUT(window_->frameGeometry(), docked, 10000);
        QCOMPARE(started.size(), 0);
        classes->setSelectIndex(0);
        QCOMPARE(phrases->count(), 3);

        QCOMPARE(PhraseRowDelegate::previewOf(PhraseContent::fromJson("[{\"type\":2,\"value\":\"a.png\"}]")),
                 QString("[图]"));
        QCOMPARE(PhraseRowDelegate::previewOf(PhraseContent::fromJson("not json")), QString());
    }

    void contextMenusFollowTheSelection() {
        QVERIFY(home_);
        PhraseList *phrases = home_->phraseList();
        ClassList *classes = home_->libraryPanel->classList;
        auto enabled = [](QList<QAction *> items) {
            QList<bool> out;
            for (QAction *a : items)
                out.append(a->isEnabled());
            return out;
        };
        const QList<QAction *> listItems{phrases->addPhraseAction, phrases->editPhraseAction,
                                         phrases->moveUpAction, phrases->moveDownAction,
                                         phrases->deleteAction};
        QStringList titles;
        for (QAction *a : phrases->menu->actions())
            titles.append(a->isSeparator() ? "-" : a->text());
        QCOMPARE(titles, (QStringList{"添加短语", "编辑短语", "-", "向上移动", "向下移动", "-", "删除选中"}));

        phrases->setSelection({});
        QCOMPARE(enabled(listItems), (QList<bool>{true, false, false, false, false}));
        phrases->setSelection({1});
        QCOMPARE(enabled(listItems), (QList<bool>{true, true, true, true, true}));
        phrases->setSelection({0, 1, 2});
        QCOMPARE(enabled(listItems), (QList<bool>{true, false, false, false, true}));

        const QList<QAction *> classItems{classes->addClassAction, classes->editClassAction,
                                          classes->moveUpAction, classes->moveDownAction,
                                          classes->deleteAction};
        QCOMPARE(enabled(classItems), (QList<bool>{true, true, true, true, true}));
        classes->setSelection({0, 1, 2});
        QCOMPARE(enabled(classItems), (QList<bool>{true, false, false, false, true}));
        classes->setSelection({0});

        // Right-clicking another phrase while one is selected moves the selection there...
        phrases->setSelection({0});
        QSignalSpy opened(phrases, &PhraseList::menuOpened);
        QTest::mousePress(phrases->collectionView->viewport(), Qt::RightButton, {},
                          rowPoint(phrases->collectionView, 2));
        QCOMPARE(opened.size(), 1);
        QCOMPARE(phrases->selectedRows, QList<int>{2});
        phrases->menu->close();
        // ... while three selected stay selected.
        phrases->setSelection({0, 1, 2});
        QTest::mousePress(phrases->collectionView->viewport(), Qt::RightButton, {},
                          rowPoint(phrases->collectionView, 1));
        QCOMPARE(opened.size(), 2);
        QCOMPARE(phrases->selectedRows, (QList<int>{0, 1, 2}));
        phrases->menu->close();
        // The same rule on the class strip.
        QTest::mousePress(classes->cellAt(2), Qt::RightButton);
        QCOMPARE(classes->selectedRows, QList<int>{2});
        classes->menu->close();
        classes->setSelectIndex(0);

        // With no class shown, no phrase can be added.
        phrases->setWordData(std::nullopt);
        QVERIFY(!phrases->addPhraseAction->isEnabled());
        QVERIFY(phrases->count() == 0);
        classes->setSelection({1});
        classes->setSelection({0});
        QVERIFY(phrases->addPhraseAction->isEnabled());
        QCOMPARE(phrases->count(), 3);
    }

    void moveAtTheEdgesChangesNothing() {
        QVERIFY(home_);
        PhraseList *phrases = home_->phraseList();
        const QList<QString> before = signsOf(shownPhrases(phrases));
        QCOMPARE(before.size(), 3);
        QSignalSpy reloaded(phrases, &PhraseList::dataReloaded);
        phrases->setSelection({0});
        phrases->menuActionTriggered(phrases->moveUpAction);
        phrases->setSelection({2});
        phrases->menuActionTriggered(phrases->moveDownAction);
        QTest::qWait(1500);
        QCOMPARE(reloaded.size(), 0);
        QCOMPARE(signsOf(shownPhrases(phrases)), before);

        // A move that can happen does, and the selection follows the phrase.
        phrases->setSelection({2});
        phrases->menuActionTriggered(phrases->moveUpAction);
        QTRY_COMPARE_WITH_TIMEOUT(signsOf(shownPhrases(phrases)),
                                  (QList<QString>{before[0], before[2], before[1]}), 20000);
        QCOMPARE(phrases->selectedRows, QList<int>{1});
        QCOMPARE(signsOf(app_->session()->phraseStore().getAll(phrases->shownClassSign.value(), "demo")),
                 (QList<QString>{before[0], before[2], before[1]}));
    }

    void searchColoursAndClearingRestores() {
        QVERIFY(home_);
        PhraseList *phrases = home_->phraseList();
        ClassList *classes = home_->libraryPanel->classList;
        classes->setSelectIndex(0);
        phrases->setSelection({1});
        const QList<QString> shownBefore = signsOf(shownPhrases(phrases));

        QLineEdit *field = home_->searchField();
        field->insert("请");
        QVERIFY(home_->searchResults->isVisible());
        QVERIFY(!home_->libraryPanel->isVisible());
        SearchResultList *results = home_->searchResults;
        // every phrase whose label or text has the keyword, over all classes
        QCOMPARE(results->resultIds().size(), 4);
        QCOMPARE(results->keyString(), QString("请"));

        field->clear();
        field->insert("发");
        QCOMPARE(results->keyString(), QString("发"));
        field->insert("票");
        QCOMPARE(results->resultIds().size(), 1);
        // "开发票": the keyword ends the label, so it stays plain.
        QCOMPARE(results->phraseAt(0)->label, QString("开发票"));
        const auto label = PhraseRowDelegate::labelText(*results->phraseAt(0), "发票");
        QVERIFY(label.runs.isEmpty());
        const auto value = PhraseRowDelegate::valueText(*results->phraseAt(0), "发票");
        QCOMPARE(value.text, QString("发票将在订单完成后三个工作日内开具。"));
        QCOMPARE(value.runs.size(), 1);
        QCOMPARE(value.runs[0].location, 0);
        QCOMPARE(value.runs[0].color, QColor(206, 7, 85));

        field->clear();
        field->insert("退换");
        QCOMPARE(results->resultIds().size(), 1);
        const auto green = PhraseRowDelegate::labelText(*results->phraseAt(0), "退换");
        QCOMPARE(green.runs.size(), 1);
        QCOMPARE(green.runs[0].color, QColor(87, 159, 43));
        // the text has a line break and blanks removed in the preview
        QVERIFY(!PhraseRowDelegate::valueText(*results->phraseAt(0), "退换").text.contains('\n'));

        field->insert("不存在的词");
        QVERIFY(results->resultIds().isEmpty());
        QVERIFY(home_->searchResults->isVisible());

        // Clearing brings the library back as it was.
        field->clear();
        QVERIFY(!home_->searchResults->isVisible());
        QVERIFY(home_->libraryPanel->isVisible());
        QCOMPARE(classes->selectedRows, QList<int>{0});
        QCOMPARE(signsOf(shownPhrases(phrases)), shownBefore);
        QCOMPARE(phrases->selectedRows, QList<int>{1});
    }

    // The painted result rows keep the widgets' gestures: every second click of a run sends without
    // Enter, the send button sends with it (press and release on it), a right press selects the row.
    void resultRowGestures() {
        QList<qint64> ids;
        for (const Phrase &p : app_->session()->phraseStore().getLikeAll(QString(), "demo"))
            ids << p.id;
        QVERIFY(ids.size() >= 3);
        PhraseListView view(app_->session()->phraseStore(), PhraseRowDelegate::Layout::TwoLines);
        view.resize(300, 400);
        view.phraseModel()->setIds(ids, "您");
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QSignalSpy sends(&view, &PhraseListView::sendRequested);
        QSignalSpy rights(&view, &PhraseListView::rowRightPressed);
        const QRect row0 = view.visualRect(view.model()->index(0, 0));
        const QRect row1 = view.visualRect(view.model()->index(1, 0));
        const QPoint text0(row0.left() + 20, row0.center().y());

        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, text0);
        QCOMPARE(sends.count(), 0);
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, text0);
        QCOMPARE(sends.count(), 1);
        QCOMPARE(sends.last(), (QList<QVariant>{0, false}));
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, text0);
        QCOMPARE(sends.count(), 1); // a triple click adds nothing

        const QPoint button1 = view.rowDelegate()->sendButtonRect(row1).center();
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, button1);
        QCOMPARE(sends.count(), 2);
        QCOMPARE(sends.last(), (QList<QVariant>{1, true}));
        QVERIFY(!view.selectionModel()->isRowSelected(1, {})); // the button does not select
        // Pressed on the button, released beside it: nothing.
        QTest::mousePress(view.viewport(), Qt::LeftButton, {}, button1);
        QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, QPoint(row1.left() + 20, row1.center().y()));
        QCOMPARE(sends.count(), 2);

        // Another row starts its own run.
        const QPoint text2(row1.left() + 20, view.visualRect(view.model()->index(2, 0)).center().y());
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, text2);
        QCOMPARE(sends.count(), 2);
        QTest::mouseClick(view.viewport(), Qt::RightButton, {}, text2);
        QCOMPARE(rights.count(), 1);
        QCOMPARE(rights.last().first().toInt(), 2);

        // Rows are read when painted: the model answers for a row far down without reading the others.
        QCOMPARE(view.phraseModel()->phraseAt(int(ids.size()) - 1)->id, ids.last());
        QVERIFY(!view.phraseModel()->phraseAt(int(ids.size())));
    }

    // A double click pastes into the application last in front; the send button also presses Enter.
    void rowsSendIntoTheTarget() {
        QVERIFY(home_);
        QTemporaryDir logs;
        const QString log = logs.filePath("target.log");
        QProcess target;
        target.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        target.start(PASTETARGET_BINARY, {"--log", log, "--class", "ChatWindow"});
        QVERIFY(target.waitForStarted(10000));
        const qint32 pid = qint32(target.processId());
        Session &session = *app_->session();
        DesktopBackend &desktop = session.desktop();
        auto applicationOf = [&desktop](qint32 p) -> std::optional<RunningApplication> {
            for (const RunningApplication &a : desktop.runningApplications())
                if (a.pid == p)
                    return a;
            return std::nullopt;
        };
        auto frontPid = [&desktop] {
            const auto front = desktop.activeApplication();
            return front ? front->pid : -1;
        };
        auto lines = [&log] {
            QFile file(log);
            if (!file.open(QIODevice::ReadOnly))
                return QStringList();
            return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
        };
        QTRY_VERIFY_WITH_TIMEOUT(applicationOf(pid).has_value(), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(desktop.activate(*applicationOf(pid)) && frontPid() == pid, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(session.tracker().lastTarget() && session.tracker().lastTarget()->pid == pid,
                                 10000);
        // The home window shows where phrases go.
        // No desktop entry has that class: the class name, not the window's title.
        QTRY_COMPARE_WITH_TIMEOUT(home_->targetName->text(), QStringLiteral("ChatWindow"), 5000);

        // Back into the home window: the target stays the chat window.
        const qint32 own = qint32(QCoreApplication::applicationPid());
        QTRY_VERIFY_WITH_TIMEOUT(
            applicationOf(own) && desktop.activate(*applicationOf(own)) && frontPid() == own, 10000);
        PhraseList *phrases = home_->phraseList();
        QVERIFY(phrases->count() >= 2);
        const QString firstText = PhraseRowDelegate::previewOf(phrases->phraseAt(0)->content);
        QWidget *rows = phrases->collectionView->viewport();
        QTest::mouseClick(rows, Qt::LeftButton, {}, rowPoint(phrases->collectionView, 0));
        QTest::mouseClick(rows, Qt::LeftButton, {}, rowPoint(phrases->collectionView, 0));
        QTRY_VERIFY_WITH_TIMEOUT(lines().join('\n').contains("text=" + firstText), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(!session.sender().isRunning(), 20000);
        QTest::qWait(300);
        QVERIFY(!lines().join('\n').contains("enter"));

        QTRY_VERIFY_WITH_TIMEOUT(
            applicationOf(own) && desktop.activate(*applicationOf(own)) && frontPid() == own, 10000);
        const QString secondText = PhraseRowDelegate::previewOf(phrases->phraseAt(1)->content);
        QTest::mouseClick(rows, Qt::LeftButton, {}, rowPoint(phrases->collectionView, 1, true));
        QTRY_VERIFY_WITH_TIMEOUT(lines().join('\n').contains("text=" + secondText), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(lines().last().startsWith("enter"), 20000);
        target.terminate();
        target.waitForFinished(5000);
    }

    void deleteThreeSelected() {
        QVERIFY(home_);
        PhraseList *phrases = home_->phraseList();
        const QString classSign = phrases->shownClassSign.value();
        QCOMPARE(phrases->count(), 3);
        phrases->setSelection({0, 1, 2});
        phrases->menuActionTriggered(phrases->deleteAction);
        QTRY_VERIFY_WITH_TIMEOUT(phrases->count() == 0, 20000);
        QVERIFY(app_->session()->phraseStore().getAll(classSign, "demo").isEmpty());
        QCOMPARE(home_->libraryPanel->labelTextView->text(),
                 home_->libraryPanel->classList->dataSource[0].label + "(0)");
        // The service agrees: a fresh synchronisation brings back nothing for that class.
        home_->libraryPanel->cloudButtonClick();
        QTRY_VERIFY_WITH_TIMEOUT(home_->libraryPanel->loadingBar->isHidden(), 20000);
        QTest::qWait(300);
        QVERIFY(app_->session()->phraseStore().getAll(classSign, "demo").isEmpty());
        QCOMPARE(app_->session()->phraseStore().getLikeAll("退换", "demo").size(), 1);
    }

    void cleanupTestCase() {
        app_.reset();
        window_ = nullptr;
    }
};

int main(int argc, char **argv) {
    if (qEnvironmentVariableIsSet("QUILLORA_TEST_GATE_CHILD"))
        return gateChild(argc, argv);
    TestEnv env;
    AppController::prepareProcess();
    XvfbSession x11;
    if (!x11.start())
        qFatal("could not start Xvfb");
    QApplication app(argc, argv);
    TestApp tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_app.moc"
