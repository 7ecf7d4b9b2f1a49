#include "editor/emojicell.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>

EmojiCell::EmojiCell(QWidget *parent) : HoverView(parent), label(new QLabel(this)) {
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

void EmojiCell::set(const QString &emoji) {
    label->setText(emoji);
    setToolTip(emoji);
}

QString EmojiCell::emoji() const {
    return label->text();
}

void EmojiCell::mousePressEvent(QMouseEvent *event) {
    HoverView::mousePressEvent(event);
    if (event->button() == Qt::LeftButton)
        Q_EMIT clicked(label->text());
}
