#pragma once

#include "library/cell_word_list_delegate.h"
#include "model/datawordlist.h"
#include "ui/backgroundview.h"

#include <QWidget>
#include <optional>

class SendButton;

// What a phrase row and a search result row have in common: the background that shows hover and
// selection, the send button, and passing clicks on to the list.
class PhraseCell : public QWidget, public BackgroundViewDelegate {
    Q_OBJECT
public:
    BackgroundView *backgroundView = nullptr;
    SendButton *sendButton = nullptr;
    std::optional<int> indexPath;
    std::optional<DataWordList> data;
    cell_word_list_delegate *delegate = nullptr;

    void setSelect(bool isSelect);

    void MouseDoubleClick() override;

protected:
    explicit PhraseCell(QWidget *parent);
    // Creates the send button on the background; the caller places it in its layout.
    void createSendButton();
    void mousePressEvent(QMouseEvent *event) override;
};
