#include "library/classcell.h"

#include "ui/elidedlabel.h"
#include "ui/themecolors.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

ClassCell::ClassCell(QWidget *parent) : HoverTracked(parent) {
    setAttribute(Qt::WA_Hover);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 0, 10, 0);
    layout->setSpacing(4);
    badge = new QLabel(this);
    badge->setObjectName(QStringLiteral("teamBadge"));
    badge->setStyleSheet("background:#2f6fb5;color:#ffffff;border-radius:6px;padding:0 4px;font-size:10px;");
    badge->hide();
    layout->addWidget(badge);
    label = new ElidedLabel(this);
    label->setAlignment(Qt::AlignCenter);
    layout->addWidget(label);
    setSelect(false);
}

int ClassCell::widthFor(const QString &text, const QFont &font, const QString &team) {
    const int labelWidth = qBound(44, QFontMetrics(font).horizontalAdvance(text) + 24, maxWidth);
    if (team.isEmpty())
        return labelWidth;
    QFont small = font;
    small.setPixelSize(10);
    return labelWidth + qMin(QFontMetrics(small).horizontalAdvance(team) + 12, maxWidth / 2);
}

void ClassCell::setData(int row, const QString &text, const QString &team) {
    indexPath = row;
    label->setText(text);
    badge->setText(team);
    badge->setVisible(!team.isEmpty());
    badge->setMaximumWidth(maxWidth / 2);
    label->setToolTip(team.isEmpty() ? text : team + QString::fromUtf8(" · ") + text);
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
