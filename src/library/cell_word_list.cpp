#include "library/cell_word_list.h"

#include "model/contentformat.h"
#include "send/sendbutton.h"
#include "ui/nstextfields.h"

#include <QHBoxLayout>
#include <QMouseEvent>

cell_word_list::cell_word_list(QWidget *parent) : QWidget(parent) {
    auto *outer = new QHBoxLayout(this);
    // The row is 30 high; one more pixel below it separates rows.
    outer->setContentsMargins(0, 0, 0, 1);
    backgroundView = new BackgroundView(this);
    backgroundView->delegate = this;
    outer->addWidget(backgroundView);

    auto *row = new QHBoxLayout(backgroundView);
    row->setContentsMargins(8, 0, 2, 0);
    row->setSpacing(8);
    label = new NSTextFieldS(backgroundView);
    label->setFixedWidth(72);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    label->setStyleSheet("color:#1f2328;font-weight:600;");
    value = new NSTextFieldS(backgroundView);
    value->setStyleSheet("color:#646a73;");
    sendButton = new SendButton(backgroundView);
    sendButton->setText("Send");
    sendButton->setFixedSize(44, 24);
    sendButton->setToolTip(QString::fromUtf8("发送并回车"));
    row->addWidget(label);
    row->addWidget(value, 1);
    row->addWidget(sendButton);

    label->setText(QString::fromUtf8("问候语"));
    value->setText(QString::fromUtf8("您好，在的，有什么可以帮助您的吗？"));

    connect(sendButton, &QPushButton::clicked, this, [this] {
        if (delegate && indexPath && data)
            delegate->onSendButtonClick(*indexPath, *data);
    });
    connect(backgroundView, &QObject::destroyed, this, [this] { backgroundView = nullptr; });
}

QString cell_word_list::previewOf(const QString &jsonValue) {
    const auto items = toDataJsonItemArr(jsonValue);
    if (!items)
        return {};
    QString out;
    for (const auto &item : *items) {
        if (!item)
            continue;
        if (item->type == 1)
            out += item->value;
        else if (item->type == 2)
            out += QString::fromUtf8("[图]");
    }
    return out;
}

void cell_word_list::setData(int row, const DataWordList &d) {
    indexPath = row;
    data = d;
    label->setText(d.label);
    label->setToolTip(d.label);
    const QString preview = previewOf(d.jsonValue);
    value->setText(preview);
    value->setToolTip(preview);
}

void cell_word_list::setSelect(bool isSelect) {
    backgroundView->setIsSelect(isSelect);
}

void cell_word_list::MouseDoubleClick() {
    if (delegate && indexPath && data)
        delegate->onDbClick(*indexPath, *data);
}

void cell_word_list::mousePressEvent(QMouseEvent *event) {
    if (event->button() == Qt::RightButton) {
        event->accept();
        if (delegate && indexPath && data)
            delegate->onMouseRightDow(*indexPath, *data);
        return;
    }
    QWidget::mousePressEvent(event);
}
