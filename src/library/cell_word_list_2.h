#pragma once

#include "library/extension_string_color.h"
#include "library/phrasecell.h"

class NSTextFieldS;

// One search result: the label and a preview of the text, with the keyword coloured.
class cell_word_list_2 : public PhraseCell {
    Q_OBJECT
public:
    explicit cell_word_list_2(QWidget *parent = nullptr);

    static inline const char *reuseIdentifier = "cell_list_2_id";
    static QColor labelKeyColor() { return QColor(87, 159, 43); }
    static QColor valueKeyColor() { return QColor(206, 7, 85); }

    NSTextFieldS *labelTextView = nullptr;
    NSTextFieldS *valueTextView = nullptr;

    // The capital K is the system's own spelling.
    void setData(int indexPath, const DataWordList &data, const QString &KeyString);

    // What the two lines show for a phrase and keyword.
    static AttributedString labelText(const DataWordList &data, const QString &key);
    static AttributedString valueText(const DataWordList &data, const QString &key);

    void MouseDoubleClick() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // Shows both lines, shortened with "…" to the width they have.
    void refreshText();

    AttributedString label_;
    AttributedString value_;
};
