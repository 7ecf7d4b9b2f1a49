#include "editor/editphrasedialog.h"

#include "cloud/phraseoperations.h"
#include "editor/phraseeditor.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPointer>

EditPhraseDialog::EditPhraseDialog(PhraseOperations &operations, const QList<PhraseClass> &classes,
                                   const Phrase &oldData, QWidget *parent)
    : PhraseDialog(operations.cloud(), QStringLiteral("编辑短语"), parent), ItemButton(new QComboBox(this)),
      operations_(operations), oldData(oldData), classDataAll(classes) {
    for (const PhraseClass &c : classDataAll) {
        ItemButton->addItem(c.label);
        if (c.sign == oldData.parentSign)
            ItemButton->setCurrentIndex(ItemButton->count() - 1);
    }
    fields->addRow(QStringLiteral("分类"), ItemButton);
    labelViewBox->setText(oldData.label);
    textView->setContent(oldData.content);
    textView->moveCursor(QTextCursor::End);
}

void EditPhraseDialog::save() {
    const int index = ItemButton->currentIndex();
    // Without a class to choose from the phrase stays where it is.
    const QString newParentSign =
        index >= 0 && index < classDataAll.size() ? classDataAll[index].sign : oldData.parentSign;
    QPointer<EditPhraseDialog> self(this);
    operations_.updateValue(newParentSign, oldData.sign, labelViewBox->text(), content(),
                            [self](const Result<void> &result) {
                                if (self)
                                    self->savedWith(result);
                            });
}
