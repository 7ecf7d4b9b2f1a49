#pragma once

#include "library/phrasecell.h"

class NSTextFieldS;

// One phrase row: label, one-line preview of the content, and the send button.
class cell_word_list : public PhraseCell {
    Q_OBJECT
public:
    explicit cell_word_list(QWidget *parent = nullptr);

    static inline const char *reuseIdentifier = "cell_list_id";

    NSTextFieldS *label = nullptr;
    NSTextFieldS *value = nullptr;
    bool isMouseOver = false;

    void setData(int indexPath, const DataWordList &data);

    // Text pieces as they are and "[图]" for each picture, joined in order.
    static QString previewOf(const QString &jsonValue);
};
