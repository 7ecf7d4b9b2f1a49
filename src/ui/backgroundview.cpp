#include "ui/backgroundview.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QTimer>

BackgroundView::BackgroundView(QWidget *parent) : HoverTracked(parent) {
    setAttribute(Qt::WA_Hover);
}

void BackgroundView::setIsSelect(bool isSel) {
    if (isSelect_ == isSel)
        return;
    isSelect_ = isSel;
    update();
}

void BackgroundView::resetClickCount(int newCount) {
    QPointer<BackgroundView> self(this);
    QTimer::singleShot(clickResetMs, this, [self, newCount] {
        if (self && self->clickCount == newCount)
            self->clickCount = 0;
    });
}

void BackgroundView::mouseReleaseEvent(QMouseEvent *event) {
    QWidget::mouseReleaseEvent(event);
    if (event->button() != Qt::LeftButton)
        return;
    ++clickCount;
    const int count = clickCount;
    resetClickCount(count);
    if (count % 2 == 0 && listener)
        listener->onBackgroundDoubleClick();
}

void BackgroundView::mouseDoubleClickEvent(QMouseEvent *event) {
    // The press of a second click; its release is counted like any other.
    event->ignore();
}

void BackgroundView::paintEvent(QPaintEvent *) {
    QColor fill = Qt::transparent;
    if (isSelect_)
        fill = QColor(222, 236, 252);
    else if (isMouseOver())
        fill = QColor(243, 245, 248);
    if (fill.alpha() == 0)
        return;
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
    p.fillPath(path, fill);
    if (isSelect_) {
        p.setPen(QColor(120, 170, 230));
        p.drawPath(path);
    }
}
