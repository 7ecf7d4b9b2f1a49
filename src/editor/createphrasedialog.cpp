#include "editor/createphrasedialog.h"

#include "editor/phraseeditor.h"
#include "library/phraseoperations.h"

#include <QLineEdit>
#include <QPointer>

CreatePhraseDialog::CreatePhraseDialog(const QString &shownClassSign, const QString &username,
                                       QWidget *parent)
    : PhraseDialog(QStringLiteral("添加短语"), parent), shownClassSign(shownClassSign), username(username) {}

void CreatePhraseDialog::create() {
    QPointer<CreatePhraseDialog> self(this);
    PhraseOperations::create(shownClassSign, labelViewBox->text(), jsonValue(), username,
                             [self](const OperationResult &result) {
                                 if (self)
                                     self->savedWith(result);
                             });
}
