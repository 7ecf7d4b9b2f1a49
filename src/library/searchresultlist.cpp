#include "library/searchresultlist.h"

#include "library/listselection.h"
#include "library/phraseidmodel.h"
#include "library/phraselistview.h"
#include "ui/palettestylesheet.h"
#include "ui/themecolors.h"

#include <QItemSelectionModel>
#include <QLabel>
#include <QScrollBar>
#include <QVBoxLayout>

SearchResultList::SearchResultList(PhraseStore &store, QWidget *parent) : QWidget(parent) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    collectionView = new PhraseListView(store, PhraseRowDelegate::Layout::TwoLines, this);
    collectionView->setInsets(5);
    layout->addWidget(collectionView);
    emptyLabel_ = new QLabel(QString::fromUtf8("没有找到匹配的短语"), this);
    emptyLabel_->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    PaletteStyleSheet::apply(emptyLabel_, [](const QPalette &p) {
        return QStringLiteral("color:%1;padding-top:24px;").arg(ThemeColors::css(ThemeColors::mutedText(p)));
    });
    emptyLabel_->hide();
    layout->addWidget(emptyLabel_, 1);
    connect(collectionView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &SearchResultList::selectionChanged);
    connect(collectionView, &PhraseListView::sendRequested, this, &SearchResultList::send);
    connect(collectionView, &PhraseListView::rowRightPressed, this, [this](int row) {
        if (selectedRows.size() < 2)
            setSelection({row});
    });
}

void SearchResultList::setData(const QList<qint64> &ids, const QString &key) {
    selectedRows.clear();
    applyingSelection_ = true;
    collectionView->phraseModel()->setIds(ids, key);
    applyingSelection_ = false;
    collectionView->scrollToTop();
    collectionView->setVisible(!ids.isEmpty());
    emptyLabel_->setVisible(ids.isEmpty());
}

void SearchResultList::refresh(const QList<qint64> &ids) {
    QList<qint64> selectedIds;
    for (int r : std::as_const(selectedRows))
        if (r >= 0 && r < resultIds().size())
            selectedIds.append(resultIds()[r]);
    const int scrollTop = collectionView->verticalScrollBar()->value();
    applyingSelection_ = true;
    collectionView->phraseModel()->setIds(ids, keyString());
    applyingSelection_ = false;
    QList<int> rows;
    for (qint64 id : std::as_const(selectedIds))
        if (const qsizetype row = ids.indexOf(id); row >= 0)
            rows.append(int(row));
    setSelection(rows);
    collectionView->verticalScrollBar()->setValue(scrollTop);
    collectionView->setVisible(!ids.isEmpty());
    emptyLabel_->setVisible(ids.isEmpty());
}

const QList<qint64> &SearchResultList::resultIds() const {
    return collectionView->phraseModel()->ids();
}

const QString &SearchResultList::keyString() const {
    return collectionView->phraseModel()->keyword();
}

std::optional<Phrase> SearchResultList::phraseAt(int row) const {
    return collectionView->phraseModel()->phraseAt(row);
}

void SearchResultList::setSelection(const QList<int> &rows) {
    applyingSelection_ = true;
    ListSelection::select(collectionView, rows, resultIds().size());
    applyingSelection_ = false;
    selectionChanged();
}

void SearchResultList::selectionChanged() {
    if (applyingSelection_)
        return;
    selectedRows = ListSelection::selectedRows(collectionView);
}

void SearchResultList::send(int row, bool pressEnter) {
    const std::optional<Phrase> phrase = phraseAt(row);
    if (!phrase)
        return;
    Q_EMIT sendRequested(*phrase, pressEnter);
}
