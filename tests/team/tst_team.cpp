// Team libraries end to end: one real quillora-cloud, an editor and an agent, each a real client with
// a data folder of its own. The agent is a session with its home window under Xvfb and openbox; the
// editor is this program started again as a second process that changes the team library through
// the same operations the editor's dialogs use. On PostgreSQL the editor talks to a second instance
// of the service, so every change reaches the agent across instances.
#include "app/mainwindow.h"
#include "app/session.h"
#include "cloud/changestream.h"
#include "cloud/classoperations.h"
#include "cloud/cloudclient.h"
#include "cloud/imageutil.h"
#include "cloud/phraseoperations.h"
#include "cloud/teamlibraries.h"
#include "cloud/uploadprocedure.h"
#include "cloud/usagereport.h"
#include "library/classcell.h"
#include "library/classlist.h"
#include "library/homeview.h"
#include "library/librarypanel.h"
#include "library/phraselist.h"
#include "library/phraselistview.h"
#include "library/searchresultlist.h"
#include "model/settings.h"
#include "quickbar/quickbar.h"
#include "quickbar/quickbarslot.h"
#include "send/targetwindowtracker.h"
#include "store/appfileutil.h"
#include "store/classstore.h"
#include "store/localpath.h"
#include "store/phrasestore.h"

#include "cloudservice.h"
#include "phrasejson.h"
#include "sendtesting.h"
#include "xvfbsession.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <cstdio>
#include <iostream>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

const QString team = QStringLiteral("acme");
const QString password = QStringLiteral("secret-pass-1");

bool signIn(CloudClient &client, const QString &user) {
    std::optional<Result<QString>> login;
    client.signIn(user, password, [&](const Result<QString> &r) { login = r; });
    return QTest::qWaitFor([&] { return login.has_value(); }, 20000) && login->isOk();
}

// The editor's side: reads one JSON command a line, answers one JSON line. Pictures are copied into
// its own picture folder, uploaded for the team and written into the phrase, as the dialogs do.
int runEditor(int argc, char **argv) {
    QApplication app(argc, argv);
    Settings settings;
    CloudClient client(settings);
    const QString user = QString::fromLocal8Bit(argv[2]);
    if (!signIn(client, user))
        return 2;
    Session session(settings, client, user);
    TeamLibraries &teams = session.teams();
    session.changeStream().start();
    if (!QTest::qWaitFor([&] { return teams.heldVersion(team) > 0; }, 20000))
        return 3;
    const auto answer = [](QJsonObject reply) {
        std::cout << QJsonDocument(reply).toJson(QJsonDocument::Compact).toStdString() << std::endl;
    };
    answer({{"ready", true}});

    PhraseOperations &phrases = teams.phraseOperations(team);
    const auto finish = [&](const std::function<void(OperationCallback)> &call, QJsonObject reply) {
        std::optional<Result<void>> result;
        call([&](const Result<void> &r) { result = r; });
        (void)QTest::qWaitFor([&] { return result.has_value(); }, 30000);
        reply.insert("ok", result && result->isOk());
        reply.insert("error", result ? result->error() : QStringLiteral("no answer"));
        answer(reply);
    };
    std::string line;
    while (std::getline(std::cin, line)) {
        const QJsonObject command = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
        const QString op = command["op"].toString();
        const QString json = command["json"].toString();
        if (op == "add" || op == "edit") {
            QString content = PhraseJson::phrase({json});
            QString picture;
            if (command.contains("picture")) {
                QFile file(command["picture"].toString());
                file.open(QIODevice::ReadOnly);
                const QByteArray bytes = file.readAll();
                picture = ImageUtil::fileNameOf(bytes);
                AppFileUtil::saveImage(bytes, picture);
                content = PhraseJson::phrase({json, PhraseJson::picture(picture)});
            }
            finish(
                [&](OperationCallback done) {
                    auto *upload = new UploadProcedure(
                        client, PhraseContent::fromJson(content).distinctPictureNames(), team, &app);
                    QObject::connect(
                        upload, &UploadProcedure::finished, &app, [&, upload, done](const Result<void> &r) {
                            upload->deleteLater();
                            if (!r)
                                done(r);
                            else if (op == "add")
                                phrases.create(command["class"].toString(), command["label"].toString(),
                                               PhraseContent::fromJson(content), done);
                            else
                                phrases.updateValue(command["class"].toString(), command["sign"].toString(),
                                                    command["label"].toString(),
                                                    PhraseContent::fromJson(content), done);
                        });
                    upload->start();
                },
                {{"picture", picture}});
        } else if (op == "swap" || op == "remove") {
            const QString sign = command["sign"].toString(), other = command["other"].toString();
            const qint64 before = teams.heldVersion(team);
            if (op == "swap")
                phrases.swapPositions(sign, other);
            else
                phrases.remove(sign);
            // These operations do not report; the team's stream says when the change committed.
            finish(
                [&](OperationCallback done) {
                    (void)QTest::qWaitFor([&] { return teams.heldVersion(team) > before; }, 20000);
                    done(teams.heldVersion(team) > before
                             ? Result<void>::success()
                             : Result<void>::failure(QStringLiteral("not committed")));
                },
                {});
        }
    }
    return 0;
}

void pressWithControl(KeySym key) {
    Display *display = XOpenDisplay(nullptr);
    const KeyCode control = XKeysymToKeycode(display, XK_Control_L), code = XKeysymToKeycode(display, key);
    XTestFakeKeyEvent(display, control, True, CurrentTime);
    XTestFakeKeyEvent(display, code, True, CurrentTime);
    XTestFakeKeyEvent(display, code, False, CurrentTime);
    XTestFakeKeyEvent(display, control, False, CurrentTime);
    XSync(display, False);
    XCloseDisplay(display);
}

} // namespace

class TeamTest : public QObject {
    Q_OBJECT

    CloudService cloud_;
    CloudService second_;
    QTemporaryDir dir_;
    Settings settings_;
    CloudClient client_{settings_};
    std::unique_ptr<Session> session_;
    MainWindow *window_ = nullptr;
    HomeView *home_ = nullptr;
    QProcess editor_;
    QString teamClass_;

    ClassList *classes() const { return home_->libraryPanel->classList; }
    PhraseList *phrases() const { return home_->phraseList(); }
    QStringList labels() const {
        QStringList out;
        for (int row = 0; row < phrases()->count(); ++row)
            out.append(phrases()->phraseAt(row)->label);
        return out;
    }
    QString selectedLabel() const {
        return phrases()->selectedRows.size() == 1
                   ? phrases()->phraseAt(phrases()->selectedRows.first())->label
                   : QString();
    }
    QString signOf(const QString &label) const {
        for (int row = 0; row < phrases()->count(); ++row)
            if (phrases()->phraseAt(row)->label == label)
                return phrases()->phraseAt(row)->sign;
        return {};
    }
    int classRow(const QString &dbname) const {
        for (int row = 0; row < classes()->dataSource.size(); ++row)
            if (classes()->dataSource[row].username == dbname)
                return row;
        return -1;
    }

    QJsonObject edit(QJsonObject command) {
        editor_.write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
        (void)QTest::qWaitFor([&] { return editor_.canReadLine(); }, 60000);
        return QJsonDocument::fromJson(editor_.readLine()).object();
    }
    void expectDone(const QJsonObject &reply) {
        QVERIFY2(reply["ok"].toBool(), qPrintable(reply["error"].toString()));
    }
    QString writePng(const QString &name, QColor colour) {
        QImage image(9, 4, QImage::Format_RGB32);
        image.fill(colour);
        const QString path = dir_.filePath(name);
        image.save(path, "PNG");
        return path;
    }
    static QByteArray bytesOf(const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    // What the service counted for the team, as its administration command exports it.
    QString usageCsv() const {
        QByteArray out;
        cloud_.run({"team", "usage", team, "--csv"}, {}, &out);
        return QString::fromUtf8(out);
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(cloud_.start());
        for (const QString &user : {QStringLiteral("lead"), QStringLiteral("ed"), QStringLiteral("agent")})
            QVERIFY(cloud_.addUser(user, password));
        QCOMPARE(cloud_.run({"team", "create", team, "lead"}), 0);
        QCOMPARE(cloud_.run({"team", "add", team, "ed", "editor"}), 0);
        QCOMPARE(cloud_.run({"team", "add", team, "agent", "agent"}), 0);
        qputenv("QUILLORA_SERVICE_URL", cloud_.baseUrl().toUtf8());

        // The editor: this program again, with data and settings folders of its own.
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("QUILLORA_HOME", dir_.filePath("editor-home"));
        env.insert("XDG_CONFIG_HOME", dir_.filePath("editor-config"));
        if (CloudService::usesPostgres()) {
            second_.setDatabase(cloud_.database());
            QVERIFY(second_.start());
            env.insert("QUILLORA_SERVICE_URL", second_.baseUrl());
        }
        editor_.setProcessEnvironment(env);
        editor_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        editor_.start(QCoreApplication::applicationFilePath(), {"--editor", "ed"});
        QVERIFY(QTest::qWaitFor([&] { return editor_.canReadLine(); }, 60000));
        QVERIFY(editor_.readLine().contains("ready"));

        QVERIFY(signIn(client_, "agent"));
        session_ = std::make_unique<Session>(settings_, client_, QStringLiteral("agent"));
        window_ = new MainWindow;
        home_ = new HomeView(session_->library(), session_->storeOpened());
        window_->setContentView(home_);
        window_->show();
        QVERIFY(QTest::qWaitForWindowExposed(window_, 20000));
        session_->start(*home_);
        // The personal class first, then the team's default class behind the team's badge.
        QTRY_VERIFY_WITH_TIMEOUT(classRow(team) > 0, 20000);
        QCOMPARE(classRow(QStringLiteral("agent")), 0);
        const int row = classRow(team);
        QCOMPARE(classes()->cellAt(row)->badge->text(), team);
        QVERIFY(classes()->cellAt(row)->badge->isVisibleTo(classes()));
        QVERIFY(!classes()->cellAt(0)->badge->isVisibleTo(classes()));
        teamClass_ = classes()->dataSource[row].sign;
        classes()->setSelectIndex(row);
        QCOMPARE(phrases()->count(), 0);
    }

    // Every change the editor makes shows in the agent's home window while the agent's place stays:
    // the class, the selected phrase (wherever it moves), the search text.
    void editorChangesReachTheAgent() {
        const QString red = writePng("red.png", Qt::red);
        QJsonObject added = edit({{"op", "add"},
                                  {"class", teamClass_},
                                  {"label", "Refund rule"},
                                  {"json", PhraseJson::text("Refunds within 30 days")},
                                  {"picture", red}});
        expectDone(added);
        QTRY_COMPARE_WITH_TIMEOUT(labels(), QStringList{"Refund rule"}, 10000);
        // The picture came down into the agent's own folder, byte for byte.
        const QString picture = added["picture"].toString();
        QTRY_COMPARE_WITH_TIMEOUT(bytesOf(LocalPath::imageDir() + '/' + picture), bytesOf(red), 10000);

        expectDone(edit({{"op", "add"},
                         {"class", teamClass_},
                         {"label", "Greeting"},
                         {"json", PhraseJson::text("Hello, how can I help?")}}));
        QTRY_COMPARE_WITH_TIMEOUT(labels(), (QStringList{"Refund rule", "Greeting"}), 10000);
        phrases()->selectRow(1);

        const QString blue = writePng("blue.png", Qt::blue);
        expectDone(edit({{"op", "edit"},
                         {"class", teamClass_},
                         {"sign", signOf("Refund rule")},
                         {"label", "Refund rule 2"},
                         {"json", PhraseJson::text("Refunds within 14 days")},
                         {"picture", blue}}));
        QTRY_COMPARE_WITH_TIMEOUT(labels(), (QStringList{"Refund rule 2", "Greeting"}), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(AppFileUtil::exist(ImageUtil::fileNameOf(bytesOf(blue))), 10000);
        QVERIFY(phrases()->phraseAt(0)->jsonValue.contains("14 days"));
        QCOMPARE(selectedLabel(), QStringLiteral("Greeting"));

        expectDone(edit({{"op", "swap"}, {"sign", signOf("Refund rule 2")}, {"other", signOf("Greeting")}}));
        QTRY_COMPARE_WITH_TIMEOUT(labels(), (QStringList{"Greeting", "Refund rule 2"}), 10000);
        QCOMPARE(selectedLabel(), QStringLiteral("Greeting"));

        expectDone(edit({{"op", "remove"}, {"sign", signOf("Refund rule 2")}}));
        QTRY_COMPARE_WITH_TIMEOUT(labels(), QStringList{"Greeting"}, 10000);
        QCOMPARE(selectedLabel(), QStringLiteral("Greeting"));
        QCOMPARE(classes()->dataSource[classes()->selectedRows.value(0)].sign, teamClass_);

        // Search covers the team library and follows its changes without losing the agent's text.
        home_->searchTextView->setText(QStringLiteral("help"));
        QCOMPARE(home_->searchResults->resultIds().size(), 1);
        expectDone(edit({{"op", "add"},
                         {"class", teamClass_},
                         {"label", "Escalate"},
                         {"json", PhraseJson::text("Let me get help from a colleague")}}));
        QTRY_COMPARE_WITH_TIMEOUT(home_->searchResults->resultIds().size(), 2, 10000);
        QCOMPARE(home_->searchTextView->text(), QStringLiteral("help"));
        home_->searchTextView->clear();
        QTRY_COMPARE_WITH_TIMEOUT(labels(), (QStringList{"Greeting", "Escalate"}), 10000);
        QCOMPARE(selectedLabel(), QStringLiteral("Greeting"));
    }

    // An agent is offered no change to a team class or phrase, and each control says why; a change
    // forced through anyway is refused by the service and changes nothing here.
    void agentControlsAreReadOnly() {
        classes()->setSelectIndex(classRow(team));
        session_->quickBar()->slotHovered(0);
        QCOMPARE(session_->quickBar()->item(0)->toolTip(), QStringLiteral("[acme] Hello, how can I help?"));
        QCOMPARE(phrases()->selectedRows, QList<int>{0});
        QVERIFY(home_->libraryPanel->readOnlyNote->isVisibleTo(home_));
        classes()->reloadMenuState();
        for (QAction *action :
             {classes()->addClassAction, classes()->editClassAction, classes()->moveUpAction,
              classes()->deleteAction, phrases()->addPhraseAction, phrases()->editPhraseAction,
              phrases()->moveDownAction, phrases()->deleteAction}) {
            QVERIFY2(!action->isEnabled(), qPrintable(action->text()));
            QCOMPARE(action->toolTip(), TeamLibraries::readOnlyReason());
        }
        std::optional<Result<void>> forced;
        session_->teams().phraseOperations(team).create(
            teamClass_, "forged", PhraseContent::fromJson(PhraseJson::phrase({PhraseJson::text("x")})),
            [&](const Result<void> &r) { forced = r; });
        QTRY_VERIFY_WITH_TIMEOUT(forced.has_value(), 10000);
        QVERIFY(!*forced);
        QVERIFY(!forced->error().isEmpty());
        QCOMPARE(labels(), (QStringList{"Greeting", "Escalate"}));

        // The agent's own library stays fully theirs.
        classes()->setSelectIndex(0);
        QVERIFY(!home_->libraryPanel->readOnlyNote->isVisibleTo(home_));
        QVERIFY(classes()->addClassAction->isEnabled());
        QVERIFY(phrases()->addPhraseAction->isEnabled());
        classes()->setSelectIndex(classRow(team));
    }

    // A double click on a team phrase types it into mousepad; the send is counted and reported.
    void agentSendsTeamPhraseIntoMousepad() {
        const QString mousepad = QStandardPaths::findExecutable(QStringLiteral("mousepad"));
        QVERIFY2(!mousepad.isEmpty(), "mousepad is missing: run scripts/setup");
        const QString doc = dir_.filePath(QStringLiteral("reply.txt"));
        QFile(doc).open(QIODevice::WriteOnly);
        QProcess editorWindow;
        editorWindow.start(mousepad, {QStringLiteral("--disable-server"), doc});
        QTRY_VERIFY_WITH_TIMEOUT(session_->tracker().lastTarget() &&
                                     session_->tracker().lastTarget()->title.contains("reply.txt"),
                                 60000);
        QTest::qWait(300);
        window_->activateWindow();
        QTRY_VERIFY_WITH_TIMEOUT(window_->isActiveWindow(), 10000);

        PhraseListView *view = phrases()->collectionView;
        const QRect rect = view->visualRect(view->model()->index(0, 0));
        // The list counts releases: two clicks on one row are a double click.
        for (int click = 0; click < 2; ++click)
            QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                              QPoint(rect.left() + 20, rect.center().y()));
        QTRY_VERIFY_WITH_TIMEOUT(!session_->sender().isRunning(), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(session_->tracker().lastTarget()->title.contains("reply.txt"), 10000);
        QTest::qWait(300);
        pressWithControl(XK_s);
        QTRY_VERIFY_WITH_TIMEOUT(SendTesting::fileBytes(doc).startsWith("Hello, how can I help?"), 10000);
        editorWindow.terminate();
        editorWindow.waitForFinished(5000);

        QSignalSpy reported(&session_->usageReport(), &UsageReport::reported);
        session_->usageReport().report();
        QTRY_COMPARE_WITH_TIMEOUT(reported.size(), 1, 10000);
        QVERIFY2(usageCsv().contains("\nmember,agent,agent,1,1\n"), qPrintable(usageCsv()));
        QVERIFY2(usageCsv().contains("\nphrase,Greeting,"), qPrintable(usageCsv()));
    }

    // After the service restarts the stream opens again by itself and changes flow as before; a send
    // counted while the service was down is reported once it is back, and counted once.
    void reconnectsAfterServiceRestart() {
        ChangeStream &stream = session_->changeStream();
        QTRY_VERIFY_WITH_TIMEOUT(stream.isOpen(), 10000);
        cloud_.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!stream.isOpen(), 10000);
        session_->usageReport().count(team, signOf("Greeting"));
        QSignalSpy reported(&session_->usageReport(), &UsageReport::reported);
        session_->usageReport().report();
        QTest::qWait(500);
        QCOMPARE(reported.size(), 0);

        QVERIFY(cloud_.restart());
        QTRY_VERIFY_WITH_TIMEOUT(stream.isOpen(), 60000);
        expectDone(edit({{"op", "add"},
                         {"class", teamClass_},
                         {"label", "After restart"},
                         {"json", PhraseJson::text("Still here")}}));
        QTRY_COMPARE_WITH_TIMEOUT(labels(), (QStringList{"Greeting", "Escalate", "After restart"}), 10000);

        session_->usageReport().report();
        QTRY_COMPARE_WITH_TIMEOUT(reported.size(), 1, 10000);
        session_->usageReport().report();
        QTest::qWait(300);
        QCOMPARE(reported.size(), 1); // nothing left to report
        QVERIFY2(usageCsv().contains("\nmember,agent,agent,2,2\n"), qPrintable(usageCsv()));
    }

    void cleanupTestCase() {
        editor_.closeWriteChannel();
        if (!editor_.waitForFinished(10000))
            editor_.kill();
        delete window_;
        window_ = nullptr;
        session_.reset();
    }
};

int main(int argc, char **argv) {
    if (argc > 2 && qstrcmp(argv[1], "--editor") == 0)
        return runEditor(argc, argv);
    TestEnv env;
    XvfbSession x11;
    if (!x11.start())
        qFatal("could not start Xvfb");
    QApplication app(argc, argv);
    app.setAttribute(Qt::AA_Use96Dpi, true);
    TeamTest test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_team.moc"
