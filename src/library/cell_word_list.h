#pragma once

#include "library/cell_word_list_delegate.h"
#include "model/datawordlist.h"
#include "ui/backgroundview.h"

#include <QWidget>
#include <optional>

class NSTextFieldS;
class SendButton;

// One phrase row: label, one-line preview of the content, and the send button.
class cell_word_list : public QWidget, public BackgroundViewDelegate {
    Q_OBJECT
public:
    explicit cell_word_list(QWidget *parent = nullptr);

    static inline const char *reuseIdentifier = "cell_list_id";

    BackgroundView *backgroundView = nullptr;
    SendButton *sendButton = nullptr;
    NSTextFieldS *label = nullptr;
    NSTextFieldS *value = nullptr;
    std::optional<int> indexPath;
    cell_word_list_delegate *delegate = nullptr;
    std::optional<DataWordList> data;
    bool isMouseOver = false;

    void setData(int indexPath, const DataWordList &data);
    void setSelect(bool isSelect);

    // Text pieces as they are and "[图]" for each picture, joined in order.
    static QString previewOf(const QString &jsonValue);

    void MouseDoubleClick() override;

protected:
    void mousePressEvent(QMouseEvent *event) override;
};
