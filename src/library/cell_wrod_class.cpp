#include "library/cell_wrod_class.h"

#include "ui/nstextfields.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

cell_wrod_class::cell_wrod_class(QWidget *parent) : HoverTracked(parent) {
    setAttribute(Qt::WA_Hover);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 0, 10, 0);
    label = new NSTextFieldS(this);
    label->setAlignment(Qt::AlignCenter);
    layout->addWidget(label);
    setSelect(false);
}

int cell_wrod_class::widthFor(const QString &text, const QFont &font) {
    return qBound(44, QFontMetrics(font).horizontalAdvance(text) + 24, maxWidth);
}

void cell_wrod_class::setData(int row, const QString &text) {
    indexPath = row;
    label->setText(text);
    label->setToolTip(text);
}

void cell_wrod_class::setSelect(bool select) {
    isSelect_ = select;
    label->setStyleSheet(select ? "color:#ffffff;font-weight:600;" : "color:#3c4043;");
    update();
}

void cell_wrod_class::mousePressEvent(QMouseEvent *event) {
    if (event->button() == Qt::RightButton) {
        event->accept();
        if (delegate && indexPath)
            delegate->onMouseRightDow(*indexPath);
        return;
    }
    QWidget::mousePressEvent(event);
}

void cell_wrod_class::paintEvent(QPaintEvent *) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()).adjusted(2, 3, -2, -3), 10, 10);
    if (isSelect_)
        p.fillPath(path, QColor(46, 154, 110));
    else
        p.fillPath(path, isMouseOver() ? QColor(232, 236, 240) : QColor(242, 244, 246));
}
