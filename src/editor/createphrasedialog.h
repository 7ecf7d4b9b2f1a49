#pragma once

#include "editor/phrasedialog.h"

#include <QString>

class PhraseOperations;

// "添加短语": a new phrase in a class.
class CreatePhraseDialog : public PhraseDialog {
    Q_OBJECT
public:
    CreatePhraseDialog(PhraseOperations &operations, const QString &shownClassSign,
                       QWidget *parent = nullptr);

    void create();

protected:
    void writePhrase() override { create(); }

private:
    PhraseOperations &operations_;
    QString shownClassSign;
};
