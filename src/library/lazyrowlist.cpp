#include "library/lazyrowlist.h"

#include <QMouseEvent>
#include <QScrollBar>
#include <QTimer>

LazyRowList::LazyRowList(QWidget *parent) : QListWidget(parent) {
    setUniformItemSizes(true);
    // Rows follow the width of the view when the window is docked or resized.
    setResizeMode(QListView::Adjust);
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setContextMenuPolicy(Qt::NoContextMenu);
    setMouseTracking(true);
    // Cells draw their own selection and hover.
    setStyleSheet(
        "QListWidget{background:transparent;outline:0;}"
        "QListWidget::item,QListWidget::item:selected,QListWidget::item:hover{background:transparent;"
        "border:0;}");
    verticalScrollBar()->setSingleStep(10);
}

void LazyRowList::resetRows(int count, QSize rowSize) {
    setUpdatesEnabled(false);
    clear();
    for (int i = 0; i < count; ++i) {
        auto *item = new QListWidgetItem(this);
        item->setSizeHint(rowSize);
    }
    setUpdatesEnabled(true);
    QTimer::singleShot(0, this, &LazyRowList::materialiseVisible);
    materialiseVisible();
}

QWidget *LazyRowList::existingCellAt(int row) const {
    QListWidgetItem *it = item(row);
    return it ? itemWidget(it) : nullptr;
}

QWidget *LazyRowList::cellAt(int row) {
    QListWidgetItem *it = item(row);
    if (!it)
        return nullptr;
    if (QWidget *w = itemWidget(it))
        return w;
    if (!factory_)
        return nullptr;
    QWidget *w = factory_(row);
    setItemWidget(it, w);
    return w;
}

void LazyRowList::materialiseVisible() {
    if (count() == 0)
        return;
    const QRect area = viewport()->rect();
    QModelIndex first = indexAt(QPoint(area.left() + 1, area.top() + 1));
    int from = first.isValid() ? first.row() : 0;
    int to = from;
    // Walk down until the rows leave the viewport (plus one screenful of slack).
    const int limit = area.bottom() + area.height();
    while (to < count()) {
        const QRect r = visualItemRect(item(to));
        if (r.top() > limit && to > from)
            break;
        ++to;
    }
    for (int row = qMax(0, from - 2); row < to; ++row)
        cellAt(row);
}

void LazyRowList::resizeEvent(QResizeEvent *event) {
    QListWidget::resizeEvent(event);
    materialiseVisible();
}

void LazyRowList::scrollContentsBy(int dx, int dy) {
    QListWidget::scrollContentsBy(dx, dy);
    materialiseVisible();
}

void LazyRowList::showEvent(QShowEvent *event) {
    QListWidget::showEvent(event);
    materialiseVisible();
}

void LazyRowList::mousePressEvent(QMouseEvent *event) {
    if (event->button() == Qt::RightButton) {
        if (!itemAt(event->position().toPoint()))
            Q_EMIT emptyAreaRightPressed(event->globalPosition().toPoint());
        event->accept();
        return;
    }
    // A press on the empty part keeps the selection: the lists never become empty-selected by it.
    if (!itemAt(event->position().toPoint())) {
        event->accept();
        return;
    }
    QListWidget::mousePressEvent(event);
}
