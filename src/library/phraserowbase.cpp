#include "library/phraserowbase.h"

#include "send/sendbutton.h"

#include <QHBoxLayout>
#include <QMouseEvent>

PhraseRowBase::PhraseRowBase(QWidget *parent) : QWidget(parent) {
    auto *outer = new QHBoxLayout(this);
    // One pixel below the row separates rows.
    outer->setContentsMargins(0, 0, 0, 1);
    backgroundView = new BackgroundView(this);
    backgroundView->listener = this;
    outer->addWidget(backgroundView);
}

void PhraseRowBase::createSendButton() {
    sendButton = new SendButton(backgroundView);
    sendButton->setText("Send");
    sendButton->setFixedSize(44, 24);
    sendButton->setToolTip(QString::fromUtf8("发送并回车"));
    connect(sendButton, &QPushButton::clicked, this, [this] {
        if (listener && indexPath && data)
            listener->onSendButtonClick(*indexPath, *data);
    });
}

void PhraseRowBase::setSelect(bool isSelect) {
    backgroundView->setIsSelect(isSelect);
}

void PhraseRowBase::onBackgroundDoubleClick() {
    if (listener && indexPath && data)
        listener->onDoubleClick(*indexPath, *data);
}

void PhraseRowBase::mousePressEvent(QMouseEvent *event) {
    if (event->button() == Qt::RightButton) {
        event->accept();
        if (listener && indexPath && data)
            listener->onRightClick(*indexPath, *data);
        return;
    }
    QWidget::mousePressEvent(event);
}
