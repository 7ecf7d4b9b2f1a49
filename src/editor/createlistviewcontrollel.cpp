#include "editor/createlistviewcontrollel.h"

#include "editor/edittextview.h"
#include "library/controller_word_list.h"

#include <QLineEdit>
#include <QPointer>

CreateListViewControllel::CreateListViewControllel(const QString &parSign, const QString &username,
                                                   QWidget *parent)
    : PhraseDialog(QStringLiteral("添加短语"), parent), parSign(parSign), username(username) {}

void CreateListViewControllel::create() {
    QPointer<CreateListViewControllel> self(this);
    controller_word_list::create(parSign, labelViewBox->text(), jsonValue(), username,
                                 [self](const DataResult &result) {
                                     if (self)
                                         self->savedWith(result);
                                 });
}
