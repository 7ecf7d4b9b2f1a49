#include "editor/emojipicker.h"

#include "editor/emojicell.h"

#include <QResizeEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextBoundaryFinder>
#include <QVBoxLayout>
#include <algorithm>

namespace {

// clang-format off
const char16_t *const table =
    u"😃😄😁😂😉😊😍😘😜😝😏😌😔😪😷😥😭😱😖😣😡😠🐴🐍"
    u"🐚🐔🐨🐰🐭🐷🐮🐯🐶🐒🐵🍶☕🍞♨️🍓🍎🍉🏪🚒🚑🚧🚙"
    u"🚲✈️🚥🚌🚅🚄🎌🏁💪🙏🙌👏✊👎👍👆☝️✌️👌✋👋"
    u"🌀✨🔥🍁🌾🌵🌴🌷🌺🌹🌸💐🔞❌🔴🈵♥️♦️♣️🀄💹"
    u"💱🏧🅰️🅱️㊗️㊙️🈺♠️🕛💤💨💦💢💟🔱📡📫📺🎬"
    u"📀🚬🚽💉💊📩🔫🎡🎥👗📲📱🎵🎶📠☎️💎💍💄👙🎁🎐🎏"
    u"🎉🎈🎃⚡☔🌂🛀👀👂💅👾💩💁👵👴👨👧👦👃💙💚💛❤️"
    u"💔💓💗💝💘👄👽👻💀";
// clang-format on

} // namespace

EmojiPicker::EmojiPicker(QWidget *parent)
    : QWidget(parent), scrollView(new QScrollArea(this)), collectionView(new QWidget) {
    makeCells();
}

void EmojiPicker::makeCells() {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scrollView);
    // Transparent over the dialog: no frame, no background of its own.
    scrollView->setFrameShape(QFrame::NoFrame);
    scrollView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrollView->setWidget(collectionView);
    scrollView->setWidgetResizable(false);
    scrollView->viewport()->setAutoFillBackground(false);
    collectionView->setAutoFillBackground(false);

    emojiDataSource = emojiTable();
    for (const QString &emoji : emojiDataSource) {
        auto *cell = new EmojiCell(collectionView);
        cell->set(emoji);
        connect(cell, &EmojiCell::clicked, this, &EmojiPicker::picked);
        cells_.append(cell);
    }
    generalLayout();
}

QStringList EmojiPicker::splitGraphemes(const QString &text) {
    QStringList items;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype start = 0;
    while (finder.toNextBoundary() != -1) {
        const qsizetype end = finder.position();
        if (end > start)
            items.append(text.mid(start, end - start));
        start = end;
    }
    return items;
}

QStringList EmojiPicker::emojiTable() {
    static const QStringList items = splitGraphemes(QString::fromUtf16(table));
    return items;
}

int EmojiPicker::maxColumns(int width) {
    return std::max(0, width) / EmojiCell::size;
}

void EmojiPicker::generalLayout() {
    const int step = EmojiCell::size + spacing;
    const auto columnsFor = [](int width) {
        // As many columns as fit with the spacing, never more than the width allows, at least one.
        const int fitting = (width + spacing) / (EmojiCell::size + spacing);
        return std::max(1, std::min(maxColumns(width), fitting));
    };
    const auto rowsFor = [this](int columns) { return (int(cells_.size()) + columns - 1) / columns; };
    columns_ = columnsFor(width());
    if (rowsFor(columns_) * step - spacing > height())
        columns_ = columnsFor(width() - scrollView->verticalScrollBar()->sizeHint().width());
    for (int i = 0; i < cells_.size(); ++i)
        cells_[i]->move((i % columns_) * step, (i / columns_) * step);
    collectionView->resize(columns_ * step - spacing, std::max(0, rowsFor(columns_) * step - spacing));
}

void EmojiPicker::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    generalLayout();
}

void EmojiPicker::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    generalLayout();
}
