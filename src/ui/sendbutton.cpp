#include "ui/sendbutton.h"
#include "ui/themecolors.h"

#include <QEnterEvent>
#include <QMouseEvent>
#include <QPainter>

SendButton::SendButton(QWidget *parent) : QPushButton(parent) {
    setFlat(true);
    setText(QString());
    setMouseTracking(true);
    setCursor(Qt::PointingHandCursor);
}

QColor SendButton::highlightColor(const QPalette &palette) {
    return ThemeColors::mix(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.22);
}

void SendButton::setHighlighted(bool on) {
    if (highlighted_ == on)
        return;
    highlighted_ = on;
    update();
}

void SendButton::enterEvent(QEnterEvent *event) {
    QPushButton::enterEvent(event);
    setHighlighted(event->position().y() < trackedHeight);
}

void SendButton::leaveEvent(QEvent *event) {
    QPushButton::leaveEvent(event);
    setHighlighted(false);
}

void SendButton::mouseMoveEvent(QMouseEvent *event) {
    QPushButton::mouseMoveEvent(event);
    setHighlighted(event->position().y() < trackedHeight);
}

void SendButton::paintEvent(QPaintEvent *event) {
    if (highlighted_) {
        QPainter painter(this);
        painter.fillRect(rect(), highlightColor(palette()));
    }
    QPushButton::paintEvent(event);
}
