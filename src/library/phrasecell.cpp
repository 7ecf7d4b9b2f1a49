#include "library/phrasecell.h"

#include "send/sendbutton.h"

#include <QHBoxLayout>
#include <QMouseEvent>

PhraseCell::PhraseCell(QWidget *parent) : QWidget(parent) {
    auto *outer = new QHBoxLayout(this);
    // One pixel below the row separates rows.
    outer->setContentsMargins(0, 0, 0, 1);
    backgroundView = new BackgroundView(this);
    backgroundView->delegate = this;
    outer->addWidget(backgroundView);
}

void PhraseCell::createSendButton() {
    sendButton = new SendButton(backgroundView);
    sendButton->setText("Send");
    sendButton->setFixedSize(44, 24);
    sendButton->setToolTip(QString::fromUtf8("发送并回车"));
    connect(sendButton, &QPushButton::clicked, this, [this] {
        if (delegate && indexPath && data)
            delegate->onSendButtonClick(*indexPath, *data);
    });
}

void PhraseCell::setSelect(bool isSelect) {
    backgroundView->setIsSelect(isSelect);
}

void PhraseCell::MouseDoubleClick() {
    if (delegate && indexPath && data)
        delegate->onDbClick(*indexPath, *data);
}

void PhraseCell::mousePressEvent(QMouseEvent *event) {
    if (event->button() == Qt::RightButton) {
        event->accept();
        if (delegate && indexPath && data)
            delegate->onMouseRightDow(*indexPath, *data);
        return;
    }
    QWidget::mousePressEvent(event);
}
