#pragma once

#include <QList>

class QAbstractItemView;

// Reading and setting the selected rows of a one-column list, shared by the class strip, the phrase
// list and the search results.
class ListSelection {
public:
    // Selects exactly these rows; rows outside 0..rowCount-1 are skipped.
    static void select(QAbstractItemView *view, const QList<int> &rows, qsizetype rowCount);
    // The selected rows in ascending order.
    static QList<int> selectedRows(const QAbstractItemView *view);
    // From now on no click or key leaves the view with nothing selected while it has rows (a Ctrl+click
    // on the only selected row keeps it); select() above still can.
    static void keepNonEmpty(QAbstractItemView *view);
};
