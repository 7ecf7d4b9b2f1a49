#include "library/homeview.h"

#include "cloud/librarysync.h"
#include "cloud/sessionheartbeat.h"
#include "library/classlist.h"
#include "library/librarypanel.h"
#include "library/phraselist.h"
#include "library/phraseoperations.h"
#include "library/searchresultlist.h"
#include "model/app.h"
#include "send/phrasesender.h"
#include "send/quickbar.h"
#include "send/quickbarentry.h"
#include "send/targetwindowtracker.h"
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"
#include "ui/elidedlabel.h"
#include "ui/messagebox.h"

#include <QApplication>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QVBoxLayout>

static void initResources() {
    Q_INIT_RESOURCE(app);
}

HomeView::HomeView(QWidget *parent) : QWidget(parent) {
    initResources();
    LocalPath::initDirs();
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, Qt::white);
    setPalette(pal);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    // Where phrases go: the icon and name of the application last in front.
    auto *target = new QWidget(this);
    target->setFixedHeight(34);
    auto *targetRow = new QHBoxLayout(target);
    targetRow->setContentsMargins(12, 0, 12, 0);
    targetRow->setSpacing(6);
    auto *caption = new QLabel(QString::fromUtf8("发送到"), target);
    caption->setStyleSheet("color:#8a9199;");
    IconImageView = new QLabel(target);
    IconImageView->setFixedSize(20, 20);
    IconImageView->setScaledContents(true);
    IconLabelView = new ElidedLabel(target);
    IconLabelView->setStyleSheet("color:#1f2328;");
    targetRow->addWidget(caption);
    targetRow->addWidget(IconImageView);
    targetRow->addWidget(IconLabelView, 1);
    layout->addWidget(target);

    searchTextView = new QLineEdit(this);
    searchTextView->setPlaceholderText(QString::fromUtf8("搜索全部短语"));
    searchTextView->setClearButtonEnabled(true);
    searchTextView->addAction(QIcon(":/search.svg"), QLineEdit::LeadingPosition);
    searchTextView->setFixedHeight(30);
    searchTextView->setStyleSheet("QLineEdit{border:1px solid #dfe3e8;border-radius:15px;padding:0 8px;"
                                  "background:#f6f7f9;color:#1f2328;}"
                                  "QLineEdit:focus{border-color:#2e9a6e;background:#ffffff;}");
    auto *searchRow = new QHBoxLayout;
    searchRow->setContentsMargins(10, 2, 10, 6);
    searchRow->addWidget(searchTextView);
    layout->addLayout(searchRow);

    auto *rule = new QWidget(this);
    rule->setFixedHeight(1);
    rule->setStyleSheet("background:#eceef1;");
    layout->addWidget(rule);

    wordBlock = new QWidget(this);
    auto *blockLayout = new QVBoxLayout(wordBlock);
    blockLayout->setContentsMargins(0, 0, 0, 0);
    blockLayout->setSpacing(0);
    wordControl = new LibraryPanel(wordBlock);
    searchListControl = new SearchResultList(wordBlock);
    blockLayout->addWidget(wordControl);
    blockLayout->addWidget(searchListControl);
    searchListControl->hide();
    layout->addWidget(wordBlock, 1);

    connect(searchTextView, &QLineEdit::textChanged, this, &HomeView::searchTextChanged);
    connect(wordControl, &LibraryPanel::cloudStopped, this, &HomeView::cloudStopped);

    // The first store object opens the database; a file that cannot be opened is told, not fatal.
    PhraseStore opener;
    if (!LocalStore::connection()) {
        const QString why = LocalStore::openError();
        QPointer<HomeView> self(this);
        QTimer::singleShot(0, this, [self, why] {
            MessageBox::show(QString::fromUtf8("无法打开数据库"),
                             why.isEmpty() ? LocalStore::databasePath() : why,
                             self ? self->window() : nullptr, QMessageBox::Critical);
        });
    }
    wordControl->classList->reloadWordData();
}

HomeView::~HomeView() {
    if (statusBarItem)
        statusBarItem->hide();
}

PhraseList *HomeView::phraseList() const {
    return wordControl->phraseList;
}

void HomeView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    viewDidAppear();
}

void HomeView::viewDidAppear() {
    moveWindowToRight();
    if (one)
        return;
    one = true;

    trayMenu_ = new QMenu(this);
    trayMenu_->addAction(QString::fromUtf8("显示窗口"), this, &HomeView::showView);
    trayMenu_->addSeparator();
    trayMenu_->addAction(QString::fromUtf8("退出"), qApp, &QCoreApplication::quit);
    // The quick bar's entry, when the application has made one.
    if (QuickBarEntry::shared().button)
        QuickBarEntry::shared().addTo(trayMenu_);
    statusBarItem = new QSystemTrayIcon(QIcon(":/icon-32.svg"), this);
    statusBarItem->setToolTip("Quillora");
    statusBarItem->setContextMenu(trayMenu_);
    connect(statusBarItem, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    showView();
            });
    statusBarItem->show();
    // What became of a send that did not go out whole: a tray message, never a dialog.
    QPointer<QSystemTrayIcon> tray = statusBarItem;
    PhraseSender::setReporter([tray](const QString &message) {
        if (tray)
            tray->showMessage(QStringLiteral("Quillora"), message, QSystemTrayIcon::Warning, 4000);
    });

    // The quick bar: its slots stand for the phrase list shown here, looked up at each gesture.
    auto *bar = new QuickBar;
    connect(this, &QObject::destroyed, bar, &QObject::deleteLater);
    QPointer<PhraseList> list = phraseList();
    bar->setListSource([list] { return list ? std::optional(list->dataSource) : std::nullopt; },
                       [list](int row) {
                           if (list)
                               list->selectRow(row);
                       });
    bar->setHomeWindow(window());
    bar->setSearchField(searchTextView);
    bar->applyShortcutSetting();
    App::quickBar = bar;

    LibrarySync::listener = wordControl;
    LibrarySync::cloudAll([] {});
    TargetWindowTracker::start();
    startUploadIcon();
    SessionHeartbeat::start();
    Q_EMIT started();
}

void HomeView::showView() {
    QWidget *w = window();
    w->close();
    w->show();
    w->raise();
    w->activateWindow();
}

void HomeView::moveWindowToRight() {
    QPointer<QWidget> w = window();
    QTimer::singleShot(dockDelayMs, this, [w] {
        QScreen *screen = QGuiApplication::primaryScreen();
        if (!screen || !w)
            return;
        // The screen's origin is not added: the main screen is taken to start at (0, 0).
        const QRect frame = screen->geometry();
        w->setGeometry(frame.width() - dockWidth - dockRightGap, 0, dockWidth, frame.height());
    });
}

void HomeView::startUploadIcon() {
    if (iconTimer_)
        return;
    iconTimer_ = new QTimer(this);
    iconTimer_->setInterval(iconRefreshMs);
    connect(iconTimer_, &QTimer::timeout, this, &HomeView::refreshTarget);
    iconTimer_->start();
    refreshTarget();
}

void HomeView::refreshTarget() {
    const auto app = TargetWindowTracker::lastTarget();
    if (!app) {
        IconImageView->clear();
        IconLabelView->setText(QString());
        iconWindow_ = 0;
        return;
    }
    // Reading an icon is a round trip to the X server; only a new window needs it.
    if (app->window != iconWindow_) {
        iconWindow_ = app->window;
        const QImage icon = app->icon();
        if (icon.isNull())
            IconImageView->clear();
        else
            IconImageView->setPixmap(QPixmap::fromImage(icon.scaled(
                IconImageView->size() * devicePixelRatio(), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    }
    if (IconLabelView->text() != app->localizedName)
        IconLabelView->setText(app->localizedName);
}

void HomeView::searchTextChanged() {
    const QString text = searchTextView->text();
    if (text.isEmpty()) {
        searchListControl->hide();
        wordControl->show();
        return;
    }
    searchListControl->show();
    wordControl->hide();
    PhraseStore db;
    searchListControl->setData(db.getLikeAll(text, App::userInfo().username), text);
}
