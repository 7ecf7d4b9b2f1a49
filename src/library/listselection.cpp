#include "library/listselection.h"

#include <QAbstractItemView>
#include <QItemSelection>
#include <QSignalBlocker>
#include <algorithm>

namespace {

// Applies a change, and takes it back when it would leave rows with none of them selected. The views
// are told once, of the net change, so they never see the empty state in between.
class NonEmptySelectionModel : public QItemSelectionModel {
public:
    using QItemSelectionModel::QItemSelectionModel;
    using QItemSelectionModel::select;

    void select(const QItemSelection &selection, QItemSelectionModel::SelectionFlags command) override {
        if (!model() || model()->rowCount() == 0) {
            QItemSelectionModel::select(selection, command);
            return;
        }
        const QItemSelection before = this->selection();
        {
            const QSignalBlocker quiet(this);
            QItemSelectionModel::select(selection, command);
            if (!hasSelection() && !before.isEmpty())
                QItemSelectionModel::select(before, QItemSelectionModel::ClearAndSelect);
        }
        emitSelectionChanged(this->selection(), before);
    }
};

} // namespace

void ListSelection::select(QAbstractItemView *view, const QList<int> &rows, qsizetype rowCount) {
    QItemSelection selection;
    for (int r : rows) {
        if (r < 0 || r >= rowCount)
            continue;
        const QModelIndex index = view->model()->index(r, 0);
        selection.select(index, index);
    }
    // The base class's select: the lists themselves may clear what a click may not.
    view->selectionModel()->QItemSelectionModel::select(selection, QItemSelectionModel::ClearAndSelect);
}

QList<int> ListSelection::selectedRows(const QAbstractItemView *view) {
    QList<int> rows;
    for (const QModelIndex &index : view->selectionModel()->selectedIndexes())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

void ListSelection::keepNonEmpty(QAbstractItemView *view) {
    QItemSelectionModel *old = view->selectionModel();
    view->setSelectionModel(new NonEmptySelectionModel(view->model(), view));
    delete old;
}
