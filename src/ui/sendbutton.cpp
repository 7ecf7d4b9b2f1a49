#include "ui/sendbutton.h"

#include <QEnterEvent>
#include <QMouseEvent>
#include <QPainter>

SendButton::SendButton(QWidget *parent) : QPushButton(parent) {
    setFlat(true);
    setText(QString());
    setMouseTracking(true);
    setCursor(Qt::PointingHandCursor);
}

QColor SendButton::highlightColor() {
    return QColor::fromRgbF(0.698556f, 0.6944055f, 0.70174783f, 0.81014556f);
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
        painter.fillRect(rect(), highlightColor());
    }
    QPushButton::paintEvent(event);
}
