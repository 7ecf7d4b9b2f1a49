#include "library/searchresultlist.h"

#include "library/lazyrowlist.h"
#include "library/listselection.h"
#include "library/searchresultrow.h"
#include "send/phrasesender.h"
#include "store/phrasestore.h"

#include <QLabel>
#include <QVBoxLayout>

SearchResultList::SearchResultList(QWidget *parent) : QWidget(parent) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    collectionView = new LazyRowList(this);
    collectionView->setInsets(5);
    collectionView->setCellFactory([this](int row) -> QWidget * {
        auto *cell = new SearchResultRow;
        cell->listener = this;
        if (const std::optional<Phrase> phrase = phraseAt(row))
            cell->setData(row, *phrase, keyString.value_or(QString()));
        cell->setSelect(selectedRows.contains(row));
        return cell;
    });
    layout->addWidget(collectionView);
    emptyLabel_ = new QLabel(QString::fromUtf8("没有找到匹配的短语"), this);
    emptyLabel_->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    emptyLabel_->setStyleSheet("color:#9aa0a6;padding-top:24px;");
    emptyLabel_->hide();
    layout->addWidget(emptyLabel_, 1);
    connect(collectionView, &QListWidget::itemSelectionChanged, this, &SearchResultList::selectionChanged);
}

void SearchResultList::setData(const QList<qint64> &ids, const QString &key) {
    resultIds = ids;
    keyString = key;
    selectedRows.clear();
    applyingSelection_ = true;
    collectionView->resetRows(int(resultIds.size()), QSize(0, rowHeight + 1));
    applyingSelection_ = false;
    collectionView->scrollToTop();
    collectionView->setVisible(!resultIds.isEmpty());
    emptyLabel_->setVisible(resultIds.isEmpty());
}

std::optional<Phrase> SearchResultList::phraseAt(int row) const {
    if (row < 0 || row >= resultIds.size())
        return std::nullopt;
    return PhraseStore::shared().getById(resultIds[row]);
}

SearchResultRow *SearchResultList::cellAt(int row) {
    return qobject_cast<SearchResultRow *>(collectionView->cellAt(row));
}

void SearchResultList::setSelection(const QList<int> &rows) {
    applyingSelection_ = true;
    ListSelection::select(collectionView, rows, resultIds.size());
    applyingSelection_ = false;
    selectionChanged();
}

void SearchResultList::selectionChanged() {
    if (applyingSelection_)
        return;
    const QList<int> rows = ListSelection::selectedRows(collectionView);
    selectedRows = rows;
    for (int r = 0; r < collectionView->count(); ++r)
        if (auto *cell = qobject_cast<SearchResultRow *>(collectionView->existingCellAt(r)))
            cell->setSelect(rows.contains(r));
}

void SearchResultList::onRightClick(int indexPath, const Phrase &) {
    if (selectedRows.size() < 2)
        setSelection({indexPath});
}

void SearchResultList::onSendButtonClick(int, const Phrase &data) {
    PhraseSender::send(data.jsonValue, true);
}

void SearchResultList::onDoubleClick(int, const Phrase &data) {
    PhraseSender::send(data.jsonValue, false);
}
