#include "library/listselection.h"

#include <QAbstractItemView>
#include <QItemSelection>
#include <algorithm>

void ListSelection::select(QAbstractItemView *view, const QList<int> &rows, qsizetype rowCount) {
    QItemSelection selection;
    for (int r : rows) {
        if (r < 0 || r >= rowCount)
            continue;
        const QModelIndex index = view->model()->index(r, 0);
        selection.select(index, index);
    }
    view->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

QList<int> ListSelection::selectedRows(const QAbstractItemView *view) {
    QList<int> rows;
    for (const QModelIndex &index : view->selectionModel()->selectedIndexes())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}
