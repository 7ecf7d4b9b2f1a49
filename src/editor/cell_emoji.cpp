#include "editor/cell_emoji.h"

#include "editor/cell_emoji_delegate.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>

cell_emoji::cell_emoji(QWidget *parent) : HoverView(parent), label(new QLabel(this)) {
    setObjectName(item);
    setFixedSize(size, size);
    setCursor(Qt::PointingHandCursor);
    setHoverColor(QColor(0, 120, 215, 40));
    setCornerRadius(8);

    QFont font(QStringLiteral("Noto Color Emoji"));
    font.setPixelSize(24);
    label->setFont(font);
    label->setAlignment(Qt::AlignCenter);
    // The whole cell takes the click, not the label.
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(label, 0, Qt::AlignCenter);
}

void cell_emoji::set(const QString &emoji) {
    label->setText(emoji);
    setToolTip(emoji);
}

QString cell_emoji::emoji() const {
    return label->text();
}

void cell_emoji::mousePressEvent(QMouseEvent *event) {
    HoverView::mousePressEvent(event);
    if (event->button() == Qt::LeftButton && delegate)
        delegate->onClick(label->text());
}
