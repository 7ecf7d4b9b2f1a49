#pragma once

#include "library/keywordcolouring.h"
#include "model/phrase.h"

#include <QPersistentModelIndex>
#include <QStyledItemDelegate>

// Paints a phrase row without a widget: the rounded background that shows hover and selection, the
// label, a one-line preview (keyword coloured in search results) and the "Send" button.
class PhraseRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    // The phrase list shows label and preview side by side; search results one above the other.
    enum class Layout { OneLine, TwoLines };

    explicit PhraseRowDelegate(Layout layout, QObject *parent = nullptr);

    int rowHeight() const;
    // Where the send button sits in a row's rectangle.
    QRect sendButtonRect(const QRect &row) const;
    // The row under the pointer, and whether the pointer is on its send button.
    void setHover(const QModelIndex &row, bool onButton);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

    // The texts a row shows.
    static QString previewOf(const PhraseContent &content);
    static AttributedString labelText(const Phrase &d, const QString &key);
    static AttributedString valueText(const Phrase &d, const QString &key);
    static QColor labelKeyColor() { return QColor(87, 159, 43); }
    static QColor valueKeyColor() { return QColor(206, 7, 85); }

private:
    Layout layout_;
    QPersistentModelIndex hovered_;
    bool hoverOnButton_ = false;
};
