#include "editor/control_emojis.h"

#include "editor/cell_emoji.h"
#include "editor/control_emojis_delegate.h"

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

control_emojis::control_emojis(QWidget *parent)
    : QWidget(parent), scrollView(new QScrollArea(this)), collectionView(new QWidget) {
    viewDidLoad();
}

void control_emojis::viewDidLoad() {
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
        auto *cell = new cell_emoji(collectionView);
        cell->set(emoji);
        cell->delegate = this;
        cells_.append(cell);
    }
    generalLayout();
}

QStringList control_emojis::splitGraphemes(const QString &text) {
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

QStringList control_emojis::emojiTable() {
    static const QStringList items = splitGraphemes(QString::fromUtf16(table));
    return items;
}

int control_emojis::maxColumns(int width) {
    return std::max(0, width) / cell_emoji::size;
}

void control_emojis::generalLayout() {
    const int step = cell_emoji::size + spacing;
    const auto columnsFor = [](int width) {
        // As many columns as fit with the spacing, never more than the width allows, at least one.
        const int fitting = (width + spacing) / (cell_emoji::size + spacing);
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

void control_emojis::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    generalLayout();
}

void control_emojis::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    generalLayout();
}

void control_emojis::onClick(const QString &emoji) {
    if (delegate)
        delegate->onItemClick(emoji);
}
