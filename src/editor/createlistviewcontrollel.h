#pragma once

#include "editor/phrasedialog.h"

#include <QString>

// "添加短语": a new phrase in a class. The name ends in "l" on purpose.
class CreateListViewControllel : public PhraseDialog {
    Q_OBJECT
public:
    CreateListViewControllel(const QString &parSign, const QString &username, QWidget *parent = nullptr);

    void create();

protected:
    void writePhrase() override { create(); }

private:
    QString parSign;
    QString username;
};
