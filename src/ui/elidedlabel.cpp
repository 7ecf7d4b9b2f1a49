#include "ui/elidedlabel.h"

#include <QFontMetrics>

ElidedLabel::ElidedLabel(QWidget *parent) : QLabel(parent) {
    setTextInteractionFlags(Qt::NoTextInteraction);
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::setText(const QString &text) {
    full_ = text;
    rich_ = false;
    setTextFormat(Qt::PlainText);
    refresh();
}

void ElidedLabel::setRichText(const QString &html, const QString &plain) {
    full_ = plain;
    rich_ = true;
    setTextFormat(Qt::RichText);
    QLabel::setText(html);
}

void ElidedLabel::setElideMode(Qt::TextElideMode mode) {
    elide_ = mode;
    refresh();
}

QSize ElidedLabel::minimumSizeHint() const {
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent *event) {
    QLabel::resizeEvent(event);
    refresh();
}

void ElidedLabel::refresh() {
    if (rich_)
        return;
    QString oneLine = full_;
    oneLine.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
    QLabel::setText(fontMetrics().elidedText(oneLine, elide_, qMax(0, contentsRect().width())));
}
