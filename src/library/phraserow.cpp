#include "library/phraserow.h"

#include "library/phraserowdelegate.h"

#include "model/contentformat.h"
#include "send/sendbutton.h"
#include "ui/elidedlabel.h"

#include <QHBoxLayout>

PhraseRow::PhraseRow(QWidget *parent) : PhraseRowBase(parent) {
    auto *row = new QHBoxLayout(backgroundView);
    row->setContentsMargins(8, 0, 2, 0);
    row->setSpacing(8);
    label = new ElidedLabel(backgroundView);
    label->setFixedWidth(72);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    label->setStyleSheet("color:#1f2328;font-weight:600;");
    value = new ElidedLabel(backgroundView);
    value->setStyleSheet("color:#646a73;");
    createSendButton();
    row->addWidget(label);
    row->addWidget(value, 1);
    row->addWidget(sendButton);

    label->setText(QString::fromUtf8("问候语"));
    value->setText(QString::fromUtf8("您好，在的，有什么可以帮助您的吗？"));

    connect(backgroundView, &QObject::destroyed, this, [this] { backgroundView = nullptr; });
}

QString PhraseRow::previewOf(const QString &jsonValue) {
    return PhraseRowDelegate::previewOf(jsonValue);
}

void PhraseRow::setData(int row, const Phrase &d) {
    indexPath = row;
    data = d;
    label->setText(d.label);
    label->setToolTip(d.label);
    const QString preview = previewOf(d.jsonValue);
    value->setText(preview);
    value->setToolTip(preview);
}
