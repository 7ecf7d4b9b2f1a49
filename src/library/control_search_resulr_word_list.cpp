#include "library/control_search_resulr_word_list.h"

#include "library/cell_word_list_2.h"
#include "library/lazycelllist.h"
#include "library/listselection.h"
#include "send/sendjsonvalueutil.h"

#include <QLabel>
#include <QVBoxLayout>

control_search_resulr_word_list::control_search_resulr_word_list(QWidget *parent) : QWidget(parent) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    collectionView = new LazyCellList(this);
    collectionView->setInsets(5);
    collectionView->setCellFactory([this](int row) -> QWidget * {
        auto *cell = new cell_word_list_2;
        cell->delegate = this;
        if (row >= 0 && row < dataSource.size())
            cell->setData(row, dataSource[row], keyString.value_or(QString()));
        cell->setSelect(_selectIndexPathAll.contains(row));
        return cell;
    });
    layout->addWidget(collectionView);
    emptyLabel_ = new QLabel(QString::fromUtf8("没有找到匹配的短语"), this);
    emptyLabel_->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    emptyLabel_->setStyleSheet("color:#9aa0a6;padding-top:24px;");
    emptyLabel_->hide();
    layout->addWidget(emptyLabel_, 1);
    connect(collectionView, &QListWidget::itemSelectionChanged, this,
            &control_search_resulr_word_list::selectionChanged);
}

void control_search_resulr_word_list::setData(const QList<DataWordList> &data, const QString &key) {
    dataSource = data;
    keyString = key;
    _selectIndexPathAll.clear();
    applyingSelection_ = true;
    collectionView->resetRows(int(dataSource.size()), QSize(0, rowHeight + 1));
    applyingSelection_ = false;
    collectionView->scrollToTop();
    collectionView->setVisible(!dataSource.isEmpty());
    emptyLabel_->setVisible(dataSource.isEmpty());
}

cell_word_list_2 *control_search_resulr_word_list::cellAt(int row) {
    return qobject_cast<cell_word_list_2 *>(collectionView->cellAt(row));
}

void control_search_resulr_word_list::setSelection(const QList<int> &rows) {
    applyingSelection_ = true;
    ListSelection::select(collectionView, rows, dataSource.size());
    applyingSelection_ = false;
    selectionChanged();
}

void control_search_resulr_word_list::selectionChanged() {
    if (applyingSelection_)
        return;
    const QList<int> rows = ListSelection::selectedRows(collectionView);
    _selectIndexPathAll = rows;
    for (int r = 0; r < collectionView->count(); ++r)
        if (auto *cell = qobject_cast<cell_word_list_2 *>(collectionView->existingCellAt(r)))
            cell->setSelect(rows.contains(r));
}

void control_search_resulr_word_list::onMouseRightDow(int indexPath, const DataWordList &) {
    if (_selectIndexPathAll.size() < 2)
        setSelection({indexPath});
}

void control_search_resulr_word_list::onSendButtonClick(int, const DataWordList &data) {
    SendJsonValueUtil::send(data.jsonValue, true);
}

void control_search_resulr_word_list::onDbClick(int, const DataWordList &data) {
    SendJsonValueUtil::send(data.jsonValue, false);
}
