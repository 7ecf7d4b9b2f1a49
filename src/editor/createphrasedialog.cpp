#include "editor/createphrasedialog.h"

#include "cloud/phraseoperations.h"
#include "editor/phraseeditor.h"

#include <QLineEdit>
#include <QPointer>

CreatePhraseDialog::CreatePhraseDialog(PhraseOperations &operations, const QString &shownClassSign,
                                       QWidget *parent)
    : PhraseDialog(operations.cloud(), QStringLiteral("添加短语"), parent), operations_(operations),
      shownClassSign(shownClassSign) {}

void CreatePhraseDialog::create() {
    QPointer<CreatePhraseDialog> self(this);
    operations_.create(shownClassSign, labelViewBox->text(), content(), [self](const Result<void> &result) {
        if (self)
            self->savedWith(result);
    });
}
