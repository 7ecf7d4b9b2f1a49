#include "library/cell_word_list_2.h"

#include "library/cell_word_list.h"
#include "model/contentformat.h"
#include "send/sendbutton.h"
#include "ui/nstextfields.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <iostream>

cell_word_list_2::cell_word_list_2(QWidget *parent) : PhraseCell(parent) {
    auto *row = new QHBoxLayout(backgroundView);
    row->setContentsMargins(8, 4, 2, 4);
    row->setSpacing(6);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(1);
    labelTextView = new NSTextFieldS(backgroundView);
    labelTextView->setStyleSheet("color:#1f2328;font-weight:600;");
    valueTextView = new NSTextFieldS(backgroundView);
    valueTextView->setStyleSheet("color:#646a73;");
    labelTextView->installEventFilter(this);
    valueTextView->installEventFilter(this);
    texts->addWidget(labelTextView);
    texts->addWidget(valueTextView);
    createSendButton();
    row->addLayout(texts, 1);
    row->addWidget(sendButton);
}

AttributedString cell_word_list_2::labelText(const DataWordList &d, const QString &key) {
    return extension_string_color::setKeyColor(d.label, key, labelKeyColor(), false);
}

AttributedString cell_word_list_2::valueText(const DataWordList &d, const QString &key) {
    const auto items = toDataJsonItemArr(d.jsonValue);
    if (!items)
        return {};
    if (const auto text = getStringValue(*items))
        return extension_string_color::setKeyColor(removeAllNull(*text), key, valueKeyColor(), false);
    if (getImagenameArrAll(*items)) {
        // Pictures only: the marker in the label colour as a whole.
        const QString marker = QString::fromUtf8("[图]");
        return AttributedString{marker, {{0, marker.size(), labelKeyColor(), false}}};
    }
    return {};
}

void cell_word_list_2::setData(int row, const DataWordList &d, const QString &KeyString) {
    indexPath = row;
    data = d;
    label_ = labelText(d, KeyString);
    value_ = valueText(d, KeyString);
    labelTextView->setToolTip(d.label);
    refreshText();
    valueTextView->setToolTip(cell_word_list::previewOf(d.jsonValue));
}

void cell_word_list_2::refreshText() {
    const int labelWidth = qMax(0, labelTextView->contentsRect().width());
    const int valueWidth = qMax(0, valueTextView->contentsRect().width());
    labelTextView->setRichText(label_.toHtml(label_.fittingLength(labelTextView->fontMetrics(), labelWidth)),
                               label_.text);
    valueTextView->setRichText(value_.toHtml(value_.fittingLength(valueTextView->fontMetrics(), valueWidth)),
                               value_.text);
}

bool cell_word_list_2::eventFilter(QObject *watched, QEvent *event) {
    // The lines are shortened to their own width, known only once the layout has placed them.
    if (event->type() == QEvent::Resize && (watched == labelTextView || watched == valueTextView))
        refreshText();
    return QWidget::eventFilter(watched, event);
}

void cell_word_list_2::MouseDoubleClick() {
    std::cout << "------WWWW>>>>>" << std::endl;
    PhraseCell::MouseDoubleClick();
}
