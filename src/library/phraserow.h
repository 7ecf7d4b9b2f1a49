#pragma once

#include "library/phraserowbase.h"

class ElidedLabel;

// One phrase row: label, one-line preview of the content, and the send button.
class PhraseRow : public PhraseRowBase {
    Q_OBJECT
public:
    explicit PhraseRow(QWidget *parent = nullptr);

    static inline const char *reuseIdentifier = "cell_list_id";

    ElidedLabel *label = nullptr;
    ElidedLabel *value = nullptr;
    bool isMouseOver = false;

    void setData(int indexPath, const Phrase &data);

    // Text pieces as they are and "[图]" for each picture, joined in order.
    static QString previewOf(const QString &jsonValue);
};
