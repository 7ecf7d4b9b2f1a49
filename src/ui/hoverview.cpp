#include "ui/hoverview.h"

#include <QEnterEvent>
#include <QPainter>

HoverView::HoverView(QWidget *parent) : HoverTracked(parent) {
    setAttribute(Qt::WA_Hover);
}

void HoverView::setHoverColor(const QColor &color) {
    hoverColor_ = color;
    update();
}

void HoverView::setNormalColor(const QColor &color) {
    normalColor_ = color;
    update();
}

void HoverView::setCornerRadius(qreal radius) {
    cornerRadius_ = radius;
    update();
}

void HoverView::hideEvent(QHideEvent *event) {
    // A hidden view gets no leave event; it must not come back highlighted.
    QWidget::hideEvent(event);
    setMouseOver(false);
}

void HoverView::mouseOverChanged(bool over) {
    Q_EMIT hoverChanged(over);
}

void HoverView::paintEvent(QPaintEvent *) {
    const QColor &fill = isMouseOver() ? hoverColor_ : normalColor_;
    if (fill.alpha() == 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()), cornerRadius_, cornerRadius_);
}
