#pragma once

#include "library/keywordcolouring.h"
#include "library/phraserowbase.h"

class ElidedLabel;

// One search result: the label and a preview of the text, with the keyword coloured.
class SearchResultRow : public PhraseRowBase {
    Q_OBJECT
public:
    explicit SearchResultRow(QWidget *parent = nullptr);

    static inline const char *reuseIdentifier = "cell_list_2_id";
    static QColor labelKeyColor() { return QColor(87, 159, 43); }
    static QColor valueKeyColor() { return QColor(206, 7, 85); }

    ElidedLabel *labelTextView = nullptr;
    ElidedLabel *valueTextView = nullptr;

    void setData(int indexPath, const Phrase &data, const QString &keyString);

    // What the two lines show for a phrase and keyword.
    static AttributedString labelText(const Phrase &data, const QString &key);
    static AttributedString valueText(const Phrase &data, const QString &key);

    void onBackgroundDoubleClick() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // Shows both lines, shortened with "…" to the width they have.
    void refreshText();

    AttributedString label_;
    AttributedString value_;
};
