#include "library/control_word.h"

#include "cloud/controller_cloud.h"
#include "library/control_word_class.h"
#include "library/control_word_list.h"
#include "library/controller_word_list.h"
#include "ui/imagebutton.h"
#include "ui/nstextfields.h"

#include <QHBoxLayout>
#include <QProgressBar>
#include <QSplitter>
#include <QVBoxLayout>
#include <malloc.h>

control_word::control_word(QWidget *parent) : QWidget(parent) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto *header = new QWidget(this);
    header->setFixedHeight(32);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(12, 0, 8, 0);
    row->setSpacing(6);
    labelTextView = new NSTextFieldS(header);
    labelTextView->setStyleSheet("color:#1f2328;font-size:14px;font-weight:600;");
    loadingBar = new QProgressBar(header);
    loadingBar->setRange(0, 1);
    loadingBar->setTextVisible(false);
    loadingBar->setFixedSize(64, 6);
    loadingBar->setStyleSheet("QProgressBar{background:#e6e9ed;border:0;border-radius:3px;}"
                              "QProgressBar::chunk{background:#2e9a6e;border-radius:3px;}");
    loadingBar->hide();
    cloudButton = new ImageButton(QIcon(":/cloud.svg"), header);
    cloudButton->setToolTip(QString::fromUtf8("从云端同步"));
    row->addWidget(labelTextView, 1);
    row->addWidget(loadingBar);
    row->addWidget(cloudButton);
    layout->addWidget(header);

    splitView = new QSplitter(Qt::Vertical, this);
    splitView->setChildrenCollapsible(false);
    splitView->setHandleWidth(5);
    splitView->setStyleSheet("QSplitter::handle{background:transparent;border-bottom:1px solid #eceef1;}");
    topVIew = new QWidget(splitView);
    dowView = new QWidget(splitView);
    topVIew->setMinimumHeight(classStripHeight);
    splitView->addWidget(topVIew);
    splitView->addWidget(dowView);
    splitView->setStretchFactor(1, 1);
    layout->addWidget(splitView, 1);

    wordClassViewController = new control_word_class(topVIew);
    auto *topLayout = new QVBoxLayout(topVIew);
    topLayout->setContentsMargins(0, 0, 0, 0);
    topLayout->addWidget(wordClassViewController);
    wordClassViewController->delegate = this;

    wordListViewController = new control_word_list(dowView);
    auto *downLayout = new QVBoxLayout(dowView);
    downLayout->setContentsMargins(0, 0, 0, 0);
    downLayout->addWidget(wordListViewController);

    // Divider 0 at 30: the class strip is one row high until the user drags it open.
    splitView->setSizes({classStripHeight, 10000});

    connect(cloudButton, &QPushButton::clicked, this, &control_word::cloudButtonClick);
    connect(wordListViewController, &control_word_list::dataReloaded, this, &control_word::refreshLabel);
}

control_word::~control_word() {
    if (controller_cloud::delegate == this)
        controller_cloud::delegate = nullptr;
    wordClassViewController->delegate = nullptr;
}

void control_word::onSelectChange(const std::optional<DataWordClass> &data) {
    shown_ = data;
    refreshLabel();
    wordListViewController->setWordData(data);
}

void control_word::refreshLabel() {
    if (!shown_) {
        labelTextView->setText(QString());
        return;
    }
    const QString count = controller_word_list::db().getCount(shown_->username, shown_->sign);
    labelTextView->setText(shown_->label + "(" + count + ")");
}

void control_word::cloudButtonClick() {
    controller_cloud::cloudAll([] {});
}

void control_word::onCloudStart() {
    loadingBar->setRange(0, 0);
    loadingBar->show();
    cloudButton->hide();
    Q_EMIT cloudStarted();
}

void control_word::onCloudStop() {
    // A synchronisation parses the whole library at once; give the freed reply buffers back.
    malloc_trim(0);
    loadingBar->setRange(0, 1);
    loadingBar->hide();
    cloudButton->show();
    Q_EMIT cloudStopped();
}
