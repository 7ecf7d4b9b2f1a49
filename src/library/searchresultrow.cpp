#include "library/searchresultrow.h"

#include "library/phraserow.h"
#include "model/contentformat.h"
#include "send/sendbutton.h"
#include "ui/elidedlabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <iostream>

SearchResultRow::SearchResultRow(QWidget *parent) : PhraseRowBase(parent) {
    auto *row = new QHBoxLayout(backgroundView);
    row->setContentsMargins(8, 4, 2, 4);
    row->setSpacing(6);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(1);
    labelTextView = new ElidedLabel(backgroundView);
    labelTextView->setStyleSheet("color:#1f2328;font-weight:600;");
    valueTextView = new ElidedLabel(backgroundView);
    valueTextView->setStyleSheet("color:#646a73;");
    labelTextView->installEventFilter(this);
    valueTextView->installEventFilter(this);
    texts->addWidget(labelTextView);
    texts->addWidget(valueTextView);
    createSendButton();
    row->addLayout(texts, 1);
    row->addWidget(sendButton);
}

AttributedString SearchResultRow::labelText(const Phrase &d, const QString &key) {
    return KeywordColouring::setKeyColor(d.label, key, labelKeyColor(), false);
}

AttributedString SearchResultRow::valueText(const Phrase &d, const QString &key) {
    const auto items = parseContent(d.jsonValue);
    if (!items)
        return {};
    if (const auto text = getStringValue(*items))
        return KeywordColouring::setKeyColor(removeWhitespace(*text), key, valueKeyColor(), false);
    if (allPictureNames(*items)) {
        // Pictures only: the marker in the label colour as a whole.
        const QString marker = QString::fromUtf8("[图]");
        return AttributedString{marker, {{0, marker.size(), labelKeyColor(), false}}};
    }
    return {};
}

void SearchResultRow::setData(int row, const Phrase &d, const QString &keyString) {
    indexPath = row;
    data = d;
    label_ = labelText(d, keyString);
    value_ = valueText(d, keyString);
    labelTextView->setToolTip(d.label);
    refreshText();
    valueTextView->setToolTip(PhraseRow::previewOf(d.jsonValue));
}

void SearchResultRow::refreshText() {
    const int labelWidth = qMax(0, labelTextView->contentsRect().width());
    const int valueWidth = qMax(0, valueTextView->contentsRect().width());
    labelTextView->setRichText(label_.toHtml(label_.fittingLength(labelTextView->fontMetrics(), labelWidth)),
                               label_.text);
    valueTextView->setRichText(value_.toHtml(value_.fittingLength(valueTextView->fontMetrics(), valueWidth)),
                               value_.text);
}

bool SearchResultRow::eventFilter(QObject *watched, QEvent *event) {
    // The lines are shortened to their own width, known only once the layout has placed them.
    if (event->type() == QEvent::Resize && (watched == labelTextView || watched == valueTextView))
        refreshText();
    return QWidget::eventFilter(watched, event);
}

void SearchResultRow::onBackgroundDoubleClick() {
    std::cout << "------WWWW>>>>>" << std::endl;
    PhraseRowBase::onBackgroundDoubleClick();
}
