#include "library/homeview.h"

#include "cloud/teamlibraries.h"
#include "desktop/desktopbackend.h"
#include "desktop/desktopsession.h"
#include "library/classlist.h"
#include "library/librarycontext.h"
#include "library/librarypanel.h"
#include "library/phraselist.h"
#include "library/phraselistview.h"
#include "library/searchresultlist.h"
#include "quickbar/quickbaricon.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "store/phrasestore.h"
#include "ui/elidedlabel.h"
#include "ui/messagebox.h"
#include "ui/palettestylesheet.h"
#include "ui/themecolors.h"

#include <QApplication>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

static void initResources() {
    Q_INIT_RESOURCE(app);
}

HomeView::HomeView(LibraryContext &library, const Result<void> &openResult, QWidget *parent)
    : QWidget(parent), library_(library) {
    initResources();
    setAutoFillBackground(true);

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
    PaletteStyleSheet::apply(caption, [](const QPalette &p) {
        return QStringLiteral("color:%1;").arg(ThemeColors::css(ThemeColors::mutedText(p)));
    });
    targetIcon = new QLabel(target);
    targetIcon->setFixedSize(20, 20);
    targetIcon->setScaledContents(true);
    targetName = new ElidedLabel(target);
    targetRow->addWidget(caption);
    targetRow->addWidget(targetIcon);
    targetRow->addWidget(targetName, 1);
    quickBarButton = new QToolButton(target);
    quickBarButton->setObjectName(QStringLiteral("quickBarButton"));
    quickBarButton->setIcon(quickbaricon::make());
    quickBarButton->setToolTip(QStringLiteral("快捷栏"));
    quickBarButton->setAutoRaise(true);
    quickBarButton->setIconSize(QSize(20, 20));
    quickBarButton->setFocusPolicy(Qt::NoFocus);
    connect(quickBarButton, &QToolButton::clicked, this, &HomeView::quickBarToggleRequested);
    targetRow->addWidget(quickBarButton);
    layout->addWidget(target);
    // What became of a send that did not go out whole: a line under the target, never a dialog.
    sendStatus_ = new QLabel(this);
    PaletteStyleSheet::apply(sendStatus_, [](const QPalette &p) {
        return QStringLiteral("color:%1;").arg(ThemeColors::css(ThemeColors::error(p)));
    });
    sendStatus_->setWordWrap(true);
    sendStatus_->hide();
    layout->addWidget(sendStatus_);

    searchTextView = new QLineEdit(this);
    searchTextView->setPlaceholderText(QString::fromUtf8("搜索全部短语"));
    searchTextView->setClearButtonEnabled(true);
    searchTextView->addAction(QIcon::fromTheme(QStringLiteral("edit-find"), QIcon(":/search.svg")),
                              QLineEdit::LeadingPosition);
    searchTextView->setFixedHeight(30);
    PaletteStyleSheet::apply(searchTextView, [](const QPalette &p) {
        using namespace ThemeColors;
        return QStringLiteral("QLineEdit{border:1px solid %1;border-radius:15px;padding:0 8px;"
                              "background:%2;color:%3;}"
                              "QLineEdit:focus{border-color:%4;background:%5;}")
            .arg(css(separator(p)), css(subtleFill(p)), css(text(p)), css(accent()),
                 css(p.color(QPalette::Base)));
    });
    auto *searchRow = new QHBoxLayout;
    searchRow->setContentsMargins(10, 2, 10, 6);
    searchRow->addWidget(searchTextView);
    layout->addLayout(searchRow);

    auto *rule = new QWidget(this);
    rule->setFixedHeight(1);
    PaletteStyleSheet::apply(rule, [](const QPalette &p) {
        return QStringLiteral("background:%1;").arg(ThemeColors::css(ThemeColors::separator(p)));
    });
    layout->addWidget(rule);

    wordBlock = new QWidget(this);
    auto *blockLayout = new QVBoxLayout(wordBlock);
    blockLayout->setContentsMargins(0, 0, 0, 0);
    blockLayout->setSpacing(0);
    libraryPanel = new LibraryPanel(library_, wordBlock);
    searchResults = new SearchResultList(library_.phrases, wordBlock);
    blockLayout->addWidget(libraryPanel);
    blockLayout->addWidget(searchResults);
    searchResults->hide();
    searchResults->collectionView->rowDelegate()->setBadge(
        [&teams = library_.libraries](const Phrase &phrase) {
            return teams.isTeam(phrase.username) ? phrase.username : QString();
        });
    layout->addWidget(wordBlock, 1);

    connect(searchTextView, &QLineEdit::textChanged, this, &HomeView::searchTextChanged);
    // Results shown while a library changes are found again in place: the agent keeps the search
    // text, the selection and the scroll.
    connect(&library_.phrases, &PhraseStore::changed, this, [this] {
        if (searchResults->isVisible() || !searchTextView->text().isEmpty())
            searchResults->refresh(searchIds(searchTextView->text()));
    });
    connect(libraryPanel, &LibraryPanel::cloudStopped, this, &HomeView::cloudStopped);

    // A database that cannot be opened is told, not fatal: the view stays, empty.
    if (!openResult) {
        const QString why = openResult.error();
        QPointer<HomeView> self(this);
        QTimer::singleShot(0, this, [self, why] {
            MessageBox::show(QString::fromUtf8("无法打开数据库"), why, self ? self->window() : nullptr,
                             QMessageBox::Critical);
        });
    }
    libraryPanel->classList->reloadData();
}

HomeView::~HomeView() = default;

PhraseList *HomeView::phraseList() const {
    return libraryPanel->phraseList;
}

void HomeView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    moveWindowToRight();
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
    QTimer::singleShot(dockDelayMs, this, [w] { dock(w, 3); });
}

void HomeView::dock(QPointer<QWidget> w, int attempts) {
    QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen || !w || !w->isVisible())
        return;
    // The frame (the window manager's title bar and borders included) fills the strip.
    const QRect area = screen->availableGeometry();
    const QRect dock(area.right() + 1 - dockWidth - dockRightGap, area.top(), dockWidth, area.height());
    const QMargins frame(w->geometry().left() - w->frameGeometry().left(),
                         w->geometry().top() - w->frameGeometry().top(),
                         w->frameGeometry().right() - w->geometry().right(),
                         w->frameGeometry().bottom() - w->geometry().bottom());
    w->setGeometry(dock - frame);
    DesktopSession::placeOwnWindow(w->winId(), dock);
    // The manager tells the size of its frame only once it has framed the window.
    if (attempts > 1)
        QTimer::singleShot(dockDelayMs, w, [w, dock, attempts] {
            if (w && w->frameGeometry() != dock)
                HomeView::dock(w, attempts - 1);
        });
}

void HomeView::followTarget(TargetWindowTracker &tracker, DesktopBackend &desktop) {
    if (tracker_)
        return;
    tracker_ = &tracker;
    desktop_ = &desktop;
    // Refreshed when the tracker reports a change, never on a clock: nothing runs while the
    // desktop is still.
    connect(&tracker, &TargetWindowTracker::changed, this, [this](TargetWindowTracker::Change change) {
        refreshTarget(change == TargetWindowTracker::Change::Icon);
    });
    connect(&tracker, &QObject::destroyed, this, [this] { tracker_ = nullptr; });
    refreshTarget(false);
}

void HomeView::sendThrough(PhraseSender &sender) {
    const auto send = [&sender](const Phrase &phrase, bool pressEnter) {
        sender.send(phrase.content, pressEnter);
    };
    connect(libraryPanel->phraseList, &PhraseList::sendRequested, &sender, send);
    connect(searchResults, &SearchResultList::sendRequested, &sender, send);
    connect(&sender, &PhraseSender::reported, this, [this](const QString &message) {
        sendStatus_->setText(message);
        sendStatus_->show();
        QPointer<QLabel> status = sendStatus_;
        QTimer::singleShot(sendStatusMs, status, [status, message] {
            if (status && status->text() == message)
                status->hide();
        });
    });
}

void HomeView::refreshTarget(bool rereadIcon) {
    if (!tracker_)
        return;
    const auto app = tracker_->lastTarget();
    if (!app) {
        targetIcon->clear();
        targetName->setText(QString());
        iconWindow_ = 0;
        return;
    }
    // Reading an icon is a round trip to the X server; only a new window or a new icon needs it.
    if (app->window != iconWindow_ || rereadIcon) {
        iconWindow_ = app->window;
        const QImage icon = desktop_->icon(app->window);
        if (icon.isNull())
            targetIcon->clear();
        else
            targetIcon->setPixmap(QPixmap::fromImage(icon.scaled(
                targetIcon->size() * devicePixelRatio(), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    }
    // The program's name as the application menu gives it, not the title of its window.
    const QString name = applicationNames_.displayName(*app);
    if (targetName->text() != name)
        targetName->setText(name);
}

void HomeView::searchTextChanged() {
    const QString text = searchTextView->text();
    if (text.isEmpty()) {
        searchResults->hide();
        libraryPanel->show();
        return;
    }
    searchResults->show();
    libraryPanel->hide();
    searchResults->setData(searchIds(text), text);
}

QList<qint64> HomeView::searchIds(const QString &text) const {
    // The personal library's hits first, then each team's in the order of the class strip.
    QList<qint64> ids;
    for (const LibraryInfo &lib : library_.libraries.libraries())
        ids += library_.phrases.searchIds(text, lib.dbname);
    return ids;
}
