#include "quickbar/quickbaricon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace quickbaricon {

QIcon make() {
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath back;
    back.addRoundedRect(QRectF(2, 2, 60, 60), 12, 12);
    p.fillPath(back, QColor::fromRgbF(0.011246422f, 0.41680336f, 0.8202195f, 1.0f));
    // Three keys of the strip.
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255, 235));
    for (int i = 0; i < 3; ++i)
        p.drawRoundedRect(QRectF(11 + i * 15, 24, 12, 16), 3, 3);
    p.end();
    return QIcon(pixmap);
}

} // namespace quickbaricon
