#pragma once

#include "editor/phrasedialog.h"
#include "model/phrase.h"
#include "model/phraseclass.h"

#include <QList>
#include <QString>

class QComboBox;
class PhraseOperations;

// "编辑短语": changes a phrase's label, content and class.
class EditPhraseDialog : public PhraseDialog {
    Q_OBJECT
public:
    // classes: the ones the phrase may move to, in the order offered.
    EditPhraseDialog(PhraseOperations &operations, const QList<PhraseClass> &classes, const Phrase &oldData,
                     QWidget *parent = nullptr);

    void save();

    // The class pop-up: one entry per class of classDataAll, in that order.
    QComboBox *ItemButton;
    const QList<PhraseClass> &classes() const { return classDataAll; }

protected:
    void writePhrase() override { save(); }

private:
    PhraseOperations &operations_;
    Phrase oldData;
    QList<PhraseClass> classDataAll;
};
