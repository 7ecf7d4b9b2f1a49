#include "library/homeviewcontrollers.h"

#include "cloud/controller_cloud.h"
#include "cloud/controller_synccheck.h"
#include "library/control_search_resulr_word_list.h"
#include "library/control_word.h"
#include "library/control_word_class.h"
#include "library/control_word_list.h"
#include "library/controller_word_list.h"
#include "model/app.h"
#include "send/controller_service_window.h"
#include "send/quickbar.h"
#include "send/touchbarcontroller.h"
#include "store/db_base.h"
#include "store/db_word_list.h"
#include "store/localpath.h"
#include "ui/messagebox.h"
#include "ui/nstextfields.h"

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

HomeViewControllers::HomeViewControllers(QWidget *parent) : QWidget(parent) {
    initResources();
    LocalPath::iniitDir();
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
    IconLabelView = new NSTextFieldS(target);
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
    wordControl = new control_word(wordBlock);
    searchListControl = new control_search_resulr_word_list(wordBlock);
    blockLayout->addWidget(wordControl);
    blockLayout->addWidget(searchListControl);
    searchListControl->hide();
    layout->addWidget(wordBlock, 1);

    connect(searchTextView, &QLineEdit::textChanged, this, &HomeViewControllers::searcgTextViewChange);
    connect(wordControl, &control_word::cloudStopped, this, &HomeViewControllers::cloudStopped);

    // The first store object opens the database; a file that cannot be opened is told, not fatal.
    db_word_list opener;
    if (!db_base::connection()) {
        const QString why = db_base::openError();
        QPointer<HomeViewControllers> self(this);
        QTimer::singleShot(0, this, [self, why] {
            MessageBox::show(QString::fromUtf8("无法打开数据库"),
                             why.isEmpty() ? db_base::databasePath() : why, self ? self->window() : nullptr,
                             QMessageBox::Critical);
        });
    }
    wordControl->wordClassViewController->reloadWordData();
}

HomeViewControllers::~HomeViewControllers() {
    if (statusBarItem)
        statusBarItem->hide();
}

control_word_list *HomeViewControllers::phraseList() const {
    return wordControl->wordListViewController;
}

void HomeViewControllers::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    viewDidAppear();
}

void HomeViewControllers::viewDidAppear() {
    moveWindowToRight();
    if (one)
        return;
    one = true;

    trayMenu_ = new QMenu(this);
    trayMenu_->addAction(QString::fromUtf8("显示窗口"), this, &HomeViewControllers::showView);
    trayMenu_->addSeparator();
    trayMenu_->addAction(QString::fromUtf8("退出"), qApp, &QCoreApplication::quit);
    // The quick bar's entry, when the application has made one.
    if (TouchBarController::shared().button)
        TouchBarController::shared().addTo(trayMenu_);
    statusBarItem = new QSystemTrayIcon(QIcon(":/icon-32.svg"), this);
    statusBarItem->setToolTip("Quillora");
    statusBarItem->setContextMenu(trayMenu_);
    connect(statusBarItem, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    showView();
            });
    statusBarItem->show();

    // The quick bar: its slots stand for the phrase list shown here, looked up at each gesture.
    auto *bar = new QuickBar;
    connect(this, &QObject::destroyed, bar, &QObject::deleteLater);
    QPointer<control_word_list> list = phraseList();
    bar->setListSource([list] { return list ? std::optional(list->dataSource) : std::nullopt; },
                       [list](int row) {
                           if (list)
                               list->selectRow(row);
                       });
    bar->setHomeWindow(window());
    bar->setSearchField(searchTextView);
    bar->applyShortcutSetting();
    App::wordTouchBar = bar;

    controller_cloud::delegate = wordControl;
    controller_cloud::cloudAll([] {});
    controller_service_window::start();
    startUploadICON();
    controller_synccheck::start();
    Q_EMIT started();
}

void HomeViewControllers::showView() {
    QWidget *w = window();
    w->close();
    w->show();
    w->raise();
    w->activateWindow();
}

void HomeViewControllers::moveWindowToRight() {
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

void HomeViewControllers::startUploadICON() {
    if (iconTimer_)
        return;
    iconTimer_ = new QTimer(this);
    iconTimer_->setInterval(iconRefreshMs);
    connect(iconTimer_, &QTimer::timeout, this, &HomeViewControllers::refreshTarget);
    iconTimer_->start();
    refreshTarget();
}

void HomeViewControllers::refreshTarget() {
    const auto app = controller_service_window::nowWindowFrom();
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

void HomeViewControllers::searcgTextViewChange() {
    const QString text = searchTextView->text();
    if (text.isEmpty()) {
        searchListControl->hide();
        wordControl->show();
        return;
    }
    searchListControl->show();
    wordControl->hide();
    db_word_list db;
    searchListControl->setData(db.getLikeAll(text, App::userInfo().username), text);
}
