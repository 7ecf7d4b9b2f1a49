#include "library/phraselistview.h"

#include "library/phraseidmodel.h"

#include <QMouseEvent>
#include <QScrollBar>

PhraseListView::PhraseListView(PhraseStore &store, PhraseRowDelegate::Layout layout, QWidget *parent)
    : QListView(parent), model_(new PhraseIdModel(store, this)),
      delegate_(new PhraseRowDelegate(layout, this)) {
    setModel(model_);
    setItemDelegate(delegate_);
    setUniformItemSizes(true);
    setResizeMode(QListView::Adjust);
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setContextMenuPolicy(Qt::NoContextMenu);
    setMouseTracking(true);
    setStyleSheet("QListView{background:transparent;outline:0;}");
    verticalScrollBar()->setSingleStep(10);
    clickReset_.setSingleShot(true);
    clickReset_.setInterval(clickResetMs);
    connect(&clickReset_, &QTimer::timeout, this, [this] { clickCount_ = 0; });
    connect(model_, &QAbstractItemModel::modelReset, this, [this] {
        clickRow_ = -1;
        clickCount_ = 0;
        delegate_->setHover({}, false);
    });
}

bool PhraseListView::onSendButton(const QModelIndex &row, const QPoint &pos) const {
    return row.isValid() && delegate_->sendButtonRect(visualRect(row)).contains(pos);
}

void PhraseListView::updateHover(const QPoint &pos) {
    const QModelIndex row = indexAt(pos);
    delegate_->setHover(row, onSendButton(row, pos));
    viewport()->update();
}

void PhraseListView::mouseMoveEvent(QMouseEvent *event) {
    updateHover(event->position().toPoint());
    // Dragging across rows must not turn into a selection sweep that the widgets never had.
    if (!(event->buttons() & Qt::LeftButton))
        QListView::mouseMoveEvent(event);
}

void PhraseListView::leaveEvent(QEvent *event) {
    QListView::leaveEvent(event);
    delegate_->setHover({}, false);
    viewport()->update();
}

void PhraseListView::mousePressEvent(QMouseEvent *event) {
    const QPoint pos = event->position().toPoint();
    const QModelIndex row = indexAt(pos);
    if (event->button() == Qt::RightButton) {
        event->accept();
        if (row.isValid())
            Q_EMIT rowRightPressed(row.row(), event->globalPosition().toPoint());
        else
            Q_EMIT emptyAreaRightPressed(event->globalPosition().toPoint());
        return;
    }
    if (event->button() == Qt::LeftButton && onSendButton(row, pos)) {
        // A press on the button selects nothing, like the button widget it replaces.
        pressedButton_ = row;
        event->accept();
        return;
    }
    pressedButton_ = QModelIndex();
    QListView::mousePressEvent(event);
}

void PhraseListView::mouseReleaseEvent(QMouseEvent *event) {
    QListView::mouseReleaseEvent(event);
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint pos = event->position().toPoint();
    const QModelIndex row = indexAt(pos);
    if (pressedButton_.isValid()) {
        const bool clicked = pressedButton_ == row && onSendButton(row, pos);
        pressedButton_ = QModelIndex();
        if (clicked)
            Q_EMIT sendRequested(row.row(), true);
        return;
    }
    if (!row.isValid())
        return;
    if (row.row() != clickRow_) {
        clickRow_ = row.row();
        clickCount_ = 0;
    }
    ++clickCount_;
    clickReset_.start();
    if (clickCount_ % 2 == 0)
        Q_EMIT sendRequested(row.row(), false);
}

void PhraseListView::mouseDoubleClickEvent(QMouseEvent *event) {
    // The press of a second click; its release is counted like any other.
    mousePressEvent(event);
}
