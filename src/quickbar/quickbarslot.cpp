#include "quickbar/quickbarslot.h"

#include "ui/themecolors.h"

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

QColor QuickBarSlot::background(const QPalette &palette) {
    return ThemeColors::mix(palette.color(QPalette::Window), palette.color(QPalette::WindowText), 0.16);
}

QColor QuickBarSlot::pressedBackground(const QPalette &palette) {
    return ThemeColors::mix(palette.color(QPalette::Window), palette.color(QPalette::WindowText), 0.08);
}

QColor QuickBarSlot::outline(const QPalette &palette, bool pressed) {
    QColor c = palette.color(QPalette::WindowText);
    c.setAlpha(pressed ? 230 : 150);
    return c;
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
    p.fillPath(path, selected_ ? pressedBackground(palette()) : background(palette()));
    if (hovered_ || selected_) {
        // The outline overlay marks the slot that a tap would send.
        p.setPen(QPen(outline(palette(), selected_), 1.5));
        p.drawRoundedRect(tile.adjusted(0.75, 0.75, -0.75, -0.75), cornerRadius, cornerRadius);
    }
    QFont f = font();
    f.setPixelSize(13);
    f.setWeight(QFont::Medium);
    p.setFont(f);
    p.setPen(palette().color(QPalette::WindowText));
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
