#include "ui/imagebutton.h"

#include <QPainter>
#include <QPainterPath>

ImageButton::ImageButton(const QIcon &icon, QWidget *parent) : HoverTracked(parent) {
    setIcon(icon);
    setFlat(true);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::NoFocus);
    setIconSize(QSize(18, 18));
    setFixedSize(26, 26);
}

void ImageButton::paintEvent(QPaintEvent *) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    if (isMouseOver() || isDown()) {
        QPainterPath path;
        path.addRoundedRect(QRectF(rect()), 6, 6);
        // A shade of the text colour: darker on a light window, lighter on a dark one.
        QColor shade = palette().color(QPalette::WindowText);
        shade.setAlpha(isDown() ? 50 : 26);
        p.fillPath(path, shade);
    }
    const QSize s = iconSize();
    const QRect r((width() - s.width()) / 2, (height() - s.height()) / 2, s.width(), s.height());
    icon().paint(&p, r, Qt::AlignCenter, isEnabled() ? QIcon::Normal : QIcon::Disabled);
}
