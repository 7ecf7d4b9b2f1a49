#pragma once

#include "editor/phrasedialog.h"

#include <QString>

// "添加短语": a new phrase in a class.
class CreatePhraseDialog : public PhraseDialog {
    Q_OBJECT
public:
    CreatePhraseDialog(const QString &shownClassSign, const QString &username, QWidget *parent = nullptr);

    void create();

protected:
    void writePhrase() override { create(); }

private:
    QString shownClassSign;
    QString username;
};
