#pragma once

#include "model/datawordclass.h"

#include <QDialog>
#include <optional>

class QLineEdit;
class QPushButton;

// Names a class: a new one ("添加分类") or an existing one ("编辑分类").
class EditClassViewController : public QDialog {
    Q_OBJECT
public:
    explicit EditClassViewController(std::optional<DataWordClass> data = std::nullopt,
                                     QWidget *parent = nullptr);

    QLineEdit *label;
    QPushButton *button_save;
    QPushButton *button_cancel;

    void button_save_click();
    void button_cancel_click();
    // The misspelt name is the system's.
    void creatae();
    void upDate();

private:
    void viewDidLoad();

    std::optional<DataWordClass> data;
};
