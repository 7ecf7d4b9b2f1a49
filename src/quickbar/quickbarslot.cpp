#include "quickbar/quickbarslot.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

QuickBarSlot::QuickBarSlot(int index, const QString &text, QWidget *parent)
    : QWidget(parent), index_(index), text_(text) {
    setFixedSize(itemWidth, itemHeight);
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setAccessibleName(text);
}

QColor QuickBarSlot::background() {
    return QColor(65, 70, 77, qRound(0.6 * 255));
}

QColor QuickBarSlot::pressedBackground() {
    return QColor(65, 70, 77, qRound(0.39089256 * 255));
}

void QuickBarSlot::setSelected(bool selected) {
    if (selected_ == selected)
        return;
    selected_ = selected;
    update();
}

void QuickBarSlot::paintEvent(QPaintEvent *) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF tile = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath path;
    path.addRoundedRect(tile, cornerRadius, cornerRadius);
    p.fillPath(path, selected_ ? pressedBackground() : background());
    if (hovered_ || selected_) {
        // The outline overlay marks the slot that a tap would send.
        p.setPen(QPen(QColor(255, 255, 255, selected_ ? 230 : 150), 1.5));
        p.drawRoundedRect(tile.adjusted(0.75, 0.75, -0.75, -0.75), cornerRadius, cornerRadius);
    }
    QFont f = font();
    f.setPixelSize(13);
    f.setWeight(QFont::Medium);
    p.setFont(f);
    p.setPen(QColor(255, 255, 255, 235));
    p.drawText(rect(), Qt::AlignCenter, text_);
}

void QuickBarSlot::enterEvent(QEnterEvent *) {
    hovered_ = true;
    update();
    Q_EMIT highlighted(index_);
}

void QuickBarSlot::leaveEvent(QEvent *) {
    hovered_ = false;
    update();
}

void QuickBarSlot::mousePressEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton)
        return;
    setSelected(true);
}

void QuickBarSlot::mouseReleaseEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton || !selected_)
        return;
    // A press dragged off the tile is no tap.
    if (!rect().contains(event->position().toPoint())) {
        setSelected(false);
        return;
    }
    Q_EMIT clicked(index_);
}
