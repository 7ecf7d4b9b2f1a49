#include "editor/editlistviewcontroller.h"

#include "editor/edittextview.h"
#include "library/controller_word_class.h"
#include "library/controller_word_list.h"
#include "model/app.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPointer>

EditListViewController::EditListViewController(const DataWordList &oldData, QWidget *parent)
    : PhraseDialog(QStringLiteral("编辑短语"), parent), ItemButton(new QComboBox(this)), oldData(oldData),
      username(App::userInfo().username),
      classDataAll(controller_word_class::db().getAll(App::userInfo().username)) {
    for (const DataWordClass &c : classDataAll) {
        ItemButton->addItem(c.label);
        if (c.sign == oldData.parentSign)
            ItemButton->setCurrentIndex(ItemButton->count() - 1);
    }
    fields->addRow(QStringLiteral("分类"), ItemButton);
    labelViewBox->setText(oldData.label);
    textView->setJsonValue(oldData.jsonValue);
    textView->moveCursor(QTextCursor::End);
}

void EditListViewController::save() {
    const int index = ItemButton->currentIndex();
    // Without a class to choose from the phrase stays where it is.
    const QString newParentSign =
        index >= 0 && index < classDataAll.size() ? classDataAll[index].sign : oldData.parentSign;
    QPointer<EditListViewController> self(this);
    controller_word_list::udValue(newParentSign, oldData.sign, labelViewBox->text(), jsonValue(), username,
                                  [self](const DataResult &result) {
                                      if (self)
                                          self->savedWith(result);
                                  });
}
