#pragma once

#include "editor/phrasedialog.h"
#include "model/datawordclass.h"
#include "model/datawordlist.h"

#include <QList>
#include <QString>

class QComboBox;

// "编辑短语": changes a phrase's label, content and class.
class EditListViewController : public PhraseDialog {
    Q_OBJECT
public:
    explicit EditListViewController(const DataWordList &oldData, QWidget *parent = nullptr);

    void save();

    // The class pop-up: one entry per class of classDataAll, in that order.
    QComboBox *ItemButton;
    const QList<DataWordClass> &classes() const { return classDataAll; }

protected:
    void writePhrase() override { save(); }

private:
    DataWordList oldData;
    QString username;
    QList<DataWordClass> classDataAll;
};
