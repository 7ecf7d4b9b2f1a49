#include "editor/classdialog.h"

#include "cloud/classoperations.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

ClassDialog::ClassDialog(ClassOperations &operations, std::optional<PhraseClass> data, QWidget *parent)
    : QDialog(parent), label(new QLineEdit(this)), saveButton(new QPushButton(QStringLiteral("保存"), this)),
      cancelButton(new QPushButton(QStringLiteral("取消"), this)), operations_(operations),
      data(std::move(data)) {
    setWindowTitle(this->data ? QStringLiteral("编辑分类") : QStringLiteral("添加分类"));
    setModal(true);
    setMinimumWidth(380);

    auto *caption = new QLabel(QStringLiteral("分类名称"), this);
    label->setPlaceholderText(QStringLiteral("例如：售后问题"));
    label->setClearButtonEnabled(true);
    caption->setBuddy(label);

    saveButton->setDefault(true);
    cancelButton->setAutoDefault(false);
    saveButton->setMinimumWidth(84);
    cancelButton->setMinimumWidth(84);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch(1);
    buttons->addWidget(cancelButton);
    buttons->addWidget(saveButton);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(8);
    layout->addWidget(caption);
    layout->addWidget(label);
    layout->addSpacing(10);
    layout->addLayout(buttons);

    connect(saveButton, &QPushButton::clicked, this, &ClassDialog::saveClicked);
    connect(cancelButton, &QPushButton::clicked, this, &ClassDialog::cancelClicked);
    label->setText(this->data ? this->data->label : QString());
    label->selectAll();
}

void ClassDialog::saveClicked() {
    if (data)
        updateClass();
    else
        createClass();
}

void ClassDialog::cancelClicked() {
    reject();
}

void ClassDialog::createClass() {
    saveButton->setEnabled(false);
    QPointer<ClassDialog> self(this);
    operations_.create(label->text(), [self](const Result<void> &result) {
        if (!self)
            return;
        // A refused name leaves the dialog open, silently, for another try.
        self->saveButton->setEnabled(true);
        if (result.isOk())
            self->accept();
    });
}

void ClassDialog::updateClass() {
    operations_.setLabel(data->sign, label->text());
    accept();
}
