#include "library/librarypanel.h"

#include "cloud/librarysync.h"
#include "cloud/teamlibraries.h"
#include "library/classlist.h"
#include "library/librarycontext.h"
#include "library/phraselist.h"
#include "store/phrasestore.h"
#include "ui/elidedlabel.h"
#include "ui/imagebutton.h"
#include "ui/palettestylesheet.h"
#include "ui/themecolors.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QSplitter>
#include <QVBoxLayout>
#include <malloc.h>

LibraryPanel::LibraryPanel(LibraryContext &library, QWidget *parent) : QWidget(parent), library_(library) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto *header = new QWidget(this);
    header->setFixedHeight(32);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(12, 0, 8, 0);
    row->setSpacing(6);
    labelTextView = new ElidedLabel(header);
    labelTextView->setStyleSheet("font-size:14px;font-weight:600;");
    readOnlyNote = new QLabel(QString::fromUtf8("只读"), header);
    readOnlyNote->setObjectName(QStringLiteral("readOnlyNote"));
    readOnlyNote->setToolTip(TeamLibraries::readOnlyReason());
    readOnlyNote->setStyleSheet("color:#8a6d00;background:#fff4c2;border-radius:6px;padding:0 5px;");
    readOnlyNote->hide();
    loadingBar = new QProgressBar(header);
    loadingBar->setRange(0, 1);
    loadingBar->setTextVisible(false);
    loadingBar->setFixedSize(64, 6);
    PaletteStyleSheet::apply(loadingBar, [](const QPalette &p) {
        using namespace ThemeColors;
        return QStringLiteral("QProgressBar{background:%1;border:0;border-radius:3px;}"
                              "QProgressBar::chunk{background:%2;border-radius:3px;}")
            .arg(css(hoverFill(p)), css(accent()));
    });
    loadingBar->hide();
    cloudButton = new ImageButton(QIcon(":/cloud.svg"), header);
    cloudButton->setToolTip(QString::fromUtf8("从云端同步"));
    row->addWidget(labelTextView, 1);
    row->addWidget(readOnlyNote);
    row->addWidget(loadingBar);
    row->addWidget(cloudButton);
    layout->addWidget(header);

    splitView = new QSplitter(Qt::Vertical, this);
    splitView->setChildrenCollapsible(false);
    splitView->setHandleWidth(5);
    PaletteStyleSheet::apply(splitView, [](const QPalette &p) {
        return QStringLiteral("QSplitter::handle{background:transparent;border-bottom:1px solid %1;}")
            .arg(ThemeColors::css(ThemeColors::separator(p)));
    });
    topView = new QWidget(splitView);
    bottomView = new QWidget(splitView);
    topView->setMinimumHeight(classStripHeight);
    splitView->addWidget(topView);
    splitView->addWidget(bottomView);
    splitView->setStretchFactor(1, 1);
    layout->addWidget(splitView, 1);

    classList = new ClassList(library_, topView);
    auto *topLayout = new QVBoxLayout(topView);
    topLayout->setContentsMargins(0, 0, 0, 0);
    topLayout->addWidget(classList);
    connect(classList, &ClassList::classSelected, this, &LibraryPanel::showClass);

    phraseList = new PhraseList(library_, bottomView);
    auto *downLayout = new QVBoxLayout(bottomView);
    downLayout->setContentsMargins(0, 0, 0, 0);
    downLayout->addWidget(phraseList);

    // Divider 0 at 30: the class strip is one row high until the user drags it open.
    splitView->setSizes({classStripHeight, 10000});

    connect(cloudButton, &QPushButton::clicked, this, &LibraryPanel::cloudButtonClick);
    connect(phraseList, &PhraseList::dataReloaded, this, &LibraryPanel::refreshLabel);
    connect(&library_.libraries, &TeamLibraries::librariesChanged, this, &LibraryPanel::refreshLabel);
    connect(&library_.sync, &LibrarySync::syncStarted, this, &LibraryPanel::syncStarted);
    connect(&library_.sync, &LibrarySync::syncFinished, this, &LibraryPanel::syncFinished);
    if (library_.sync.isRunning())
        syncStarted();
}

LibraryPanel::~LibraryPanel() = default;

void LibraryPanel::showClass(const std::optional<PhraseClass> &data) {
    // The same class again (a reload, a rename): the new record names the label, and the phrase list
    // keeps its rows, scroll and selection.
    const bool sameClass =
        data && shown_ && shown_->sign == data->sign && phraseList->shownClassSign == data->sign;
    shown_ = data;
    refreshLabel();
    if (!sameClass)
        phraseList->setWordData(data);
}

void LibraryPanel::refreshLabel() {
    readOnlyNote->setVisible(shown_ && !library_.libraries.canEdit(shown_->username));
    if (!shown_) {
        labelTextView->setText(QString());
        return;
    }
    const QString count = library_.phrases.getCount(shown_->username, shown_->sign);
    labelTextView->setText(shown_->label + "(" + count + ")");
}

void LibraryPanel::cloudButtonClick() {
    library_.sync.syncAll();
    library_.libraries.refresh();
}

void LibraryPanel::syncStarted() {
    loadingBar->setRange(0, 0);
    loadingBar->show();
    cloudButton->hide();
    Q_EMIT cloudStarted();
}

void LibraryPanel::syncFinished() {
    // The search copy is read now, while nobody types, and a synchronisation parses the whole
    // library at once: give the freed reply buffers back after both.
    library_.phrases.searchIndex().prepare();
    malloc_trim(0);
    loadingBar->setRange(0, 1);
    loadingBar->hide();
    cloudButton->show();
    Q_EMIT cloudStopped();
}
