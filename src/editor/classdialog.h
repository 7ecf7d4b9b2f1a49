#pragma once

#include "model/phraseclass.h"

#include <QDialog>
#include <optional>

class QLineEdit;
class QPushButton;
class ClassOperations;

// Names a class: a new one ("添加分类") or an existing one ("编辑分类").
class ClassDialog : public QDialog {
    Q_OBJECT
public:
    explicit ClassDialog(ClassOperations &operations, std::optional<PhraseClass> data = std::nullopt,
                         QWidget *parent = nullptr);

    QLineEdit *label;
    QPushButton *saveButton;
    QPushButton *cancelButton;

    void saveClicked();
    void cancelClicked();
    void createClass();
    void updateClass();

private:
    ClassOperations &operations_;
    std::optional<PhraseClass> data;
};
