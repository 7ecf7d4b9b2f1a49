#include "editor/createphrasedialog.h"

#include "editor/phraseeditor.h"
#include "library/phraseoperations.h"

#include <QLineEdit>
#include <QPointer>

CreatePhraseDialog::CreatePhraseDialog(const QString &parSign, const QString &username, QWidget *parent)
    : PhraseDialog(QStringLiteral("添加短语"), parent), parSign(parSign), username(username) {}

void CreatePhraseDialog::create() {
    QPointer<CreatePhraseDialog> self(this);
    PhraseOperations::create(parSign, labelViewBox->text(), jsonValue(), username,
                             [self](const OperationResult &result) {
                                 if (self)
                                     self->savedWith(result);
                             });
}
