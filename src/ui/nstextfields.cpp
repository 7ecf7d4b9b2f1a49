#include "ui/nstextfields.h"

#include <QFontMetrics>

NSTextFieldS::NSTextFieldS(QWidget *parent) : QLabel(parent) {
    setTextInteractionFlags(Qt::NoTextInteraction);
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void NSTextFieldS::setText(const QString &text) {
    full_ = text;
    rich_ = false;
    setTextFormat(Qt::PlainText);
    refresh();
}

void NSTextFieldS::setRichText(const QString &html, const QString &plain) {
    full_ = plain;
    rich_ = true;
    setTextFormat(Qt::RichText);
    QLabel::setText(html);
}

void NSTextFieldS::setElideMode(Qt::TextElideMode mode) {
    elide_ = mode;
    refresh();
}

QSize NSTextFieldS::minimumSizeHint() const {
    return {0, QLabel::minimumSizeHint().height()};
}

void NSTextFieldS::resizeEvent(QResizeEvent *event) {
    QLabel::resizeEvent(event);
    refresh();
}

void NSTextFieldS::refresh() {
    if (rich_)
        return;
    QString oneLine = full_;
    oneLine.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
    QLabel::setText(fontMetrics().elidedText(oneLine, elide_, qMax(0, contentsRect().width())));
}
