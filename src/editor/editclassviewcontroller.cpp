#include "editor/editclassviewcontroller.h"

#include "library/controller_word_class.h"
#include "model/app.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

EditClassViewController::EditClassViewController(std::optional<DataWordClass> data, QWidget *parent)
    : QDialog(parent), label(new QLineEdit(this)), button_save(new QPushButton(QStringLiteral("保存"), this)),
      button_cancel(new QPushButton(QStringLiteral("取消"), this)), data(std::move(data)) {
    setWindowTitle(this->data ? QStringLiteral("编辑分类") : QStringLiteral("添加分类"));
    setModal(true);
    setMinimumWidth(380);

    auto *caption = new QLabel(QStringLiteral("分类名称"), this);
    label->setPlaceholderText(QStringLiteral("例如：售后问题"));
    label->setClearButtonEnabled(true);
    caption->setBuddy(label);

    button_save->setDefault(true);
    button_cancel->setAutoDefault(false);
    button_save->setMinimumWidth(84);
    button_cancel->setMinimumWidth(84);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch(1);
    buttons->addWidget(button_cancel);
    buttons->addWidget(button_save);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(8);
    layout->addWidget(caption);
    layout->addWidget(label);
    layout->addSpacing(10);
    layout->addLayout(buttons);

    connect(button_save, &QPushButton::clicked, this, &EditClassViewController::button_save_click);
    connect(button_cancel, &QPushButton::clicked, this, &EditClassViewController::button_cancel_click);
    viewDidLoad();
}

void EditClassViewController::viewDidLoad() {
    label->setText(data ? data->label : QString());
    label->selectAll();
}

void EditClassViewController::button_save_click() {
    if (data)
        upDate();
    else
        creatae();
}

void EditClassViewController::button_cancel_click() {
    reject();
}

void EditClassViewController::creatae() {
    button_save->setEnabled(false);
    QPointer<EditClassViewController> self(this);
    controller_word_class::create(label->text(), App::userInfo().username, [self](const DataResult &result) {
        if (!self)
            return;
        // A refused name leaves the dialog open, silently, for another try.
        self->button_save->setEnabled(true);
        if (result.isSuccess())
            self->accept();
    });
}

void EditClassViewController::upDate() {
    controller_word_class::setLabel(data->sign, label->text(), App::userInfo().username);
    accept();
}
