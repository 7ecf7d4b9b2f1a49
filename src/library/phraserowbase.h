#pragma once

#include "library/phraserowlistener.h"
#include "model/phrase.h"
#include "ui/backgroundview.h"

#include <QWidget>
#include <optional>

class SendButton;

// What a phrase row and a search result row have in common: the background that shows hover and
// selection, the send button, and passing clicks on to the list.
class PhraseRowBase : public QWidget, public BackgroundViewListener {
    Q_OBJECT
public:
    BackgroundView *backgroundView = nullptr;
    SendButton *sendButton = nullptr;
    std::optional<int> indexPath;
    std::optional<Phrase> data;
    PhraseRowListener *listener = nullptr;

    void setSelect(bool isSelect);

    void onBackgroundDoubleClick() override;

protected:
    explicit PhraseRowBase(QWidget *parent);
    // Creates the send button on the background; the caller places it in its layout.
    void createSendButton();
    void mousePressEvent(QMouseEvent *event) override;
};
