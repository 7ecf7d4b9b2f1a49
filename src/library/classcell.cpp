#include "library/classcell.h"

#include "ui/elidedlabel.h"
#include "ui/themecolors.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

ClassCell::ClassCell(QWidget *parent) : HoverTracked(parent) {
    setAttribute(Qt::WA_Hover);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 0, 10, 0);
    label = new ElidedLabel(this);
    label->setAlignment(Qt::AlignCenter);
    layout->addWidget(label);
    setSelect(false);
}

int ClassCell::widthFor(const QString &text, const QFont &font) {
    return qBound(44, QFontMetrics(font).horizontalAdvance(text) + 24, maxWidth);
}

void ClassCell::setData(int row, const QString &text) {
    indexPath = row;
    label->setText(text);
    label->setToolTip(text);
}

void ClassCell::setSelect(bool select) {
    isSelect_ = select;
    // The selected chip is the program's green in both schemes, white on it; the others follow the palette.
    label->setStyleSheet(select ? "color:#ffffff;font-weight:600;" : "");
    update();
}

void ClassCell::mousePressEvent(QMouseEvent *event) {
    if (event->button() == Qt::RightButton) {
        event->accept();
        if (indexPath)
            Q_EMIT rightClicked(*indexPath);
        return;
    }
    QWidget::mousePressEvent(event);
}

void ClassCell::paintEvent(QPaintEvent *) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()).adjusted(2, 3, -2, -3), 10, 10);
    if (isSelect_)
        p.fillPath(path, ThemeColors::accent());
    else
        p.fillPath(path,
                   isMouseOver() ? ThemeColors::hoverFill(palette()) : ThemeColors::subtleFill(palette()));
}
