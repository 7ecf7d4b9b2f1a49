#include "library/phraserowdelegate.h"

#include "library/phraseidmodel.h"
#include "ui/sendbutton.h"
#include "ui/themecolors.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int oneLineHeight = 30;
constexpr int twoLinesHeight = 46;
constexpr int gap = 1; // below each row, between rows
constexpr int buttonWidth = 44;
constexpr int buttonHeight = 24;
constexpr int rightMargin = 2;
constexpr int leftMargin = 8;
constexpr int oneLineLabelWidth = 72;

// Draws text in one line at the baseline of rect, its runs coloured (made legible on the background),
// cut with "…" to the width.
void drawAttributed(QPainter &p, const QRect &rect, const AttributedString &s, const QColor &plain,
                    const QColor &background) {
    const QFontMetrics metrics(p.font());
    QString oneLine = s.text;
    oneLine.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
    AttributedString flat{oneLine, s.runs};
    const qsizetype fits = flat.fittingLength(metrics, rect.width());
    const int baseline = rect.top() + (rect.height() + metrics.ascent() - metrics.descent()) / 2;
    int x = rect.left();
    auto draw = [&](qsizetype from, qsizetype length, const QColor &color) {
        const QString piece = oneLine.mid(from, length);
        if (piece.isEmpty())
            return;
        p.setPen(color);
        p.drawText(QPoint(x, baseline), piece);
        x += metrics.horizontalAdvance(piece);
    };
    QList<AttributedString::Run> runs = flat.runs;
    std::sort(runs.begin(), runs.end(), [](const auto &a, const auto &b) { return a.location < b.location; });
    qsizetype pos = 0;
    for (const AttributedString::Run &r : runs) {
        if (r.location < pos || r.location >= fits)
            continue;
        draw(pos, r.location - pos, plain);
        draw(r.location, qMin(r.length, fits - r.location), ThemeColors::legibleOn(r.color, background));
        pos = r.location + r.length;
    }
    if (pos < fits)
        draw(pos, fits - pos, plain);
    if (fits < oneLine.size()) {
        p.setPen(plain);
        p.drawText(QPoint(x, baseline), QString(QChar(0x2026)));
    }
}

} // namespace

PhraseRowDelegate::PhraseRowDelegate(Layout layout, QObject *parent)
    : QStyledItemDelegate(parent), layout_(layout) {}

int PhraseRowDelegate::rowHeight() const {
    return layout_ == Layout::OneLine ? oneLineHeight : twoLinesHeight;
}

QRect PhraseRowDelegate::sendButtonRect(const QRect &row) const {
    const int height = qMin(row.height() - gap, rowHeight());
    return QRect(row.right() - rightMargin - buttonWidth + 1, row.top() + (height - buttonHeight) / 2,
                 buttonWidth, buttonHeight);
}

void PhraseRowDelegate::setHover(const QModelIndex &row, bool onButton) {
    hovered_ = row;
    hoverOnButton_ = onButton;
}

QSize PhraseRowDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const {
    return {0, rowHeight() + gap};
}

void PhraseRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const {
    const auto *model = qobject_cast<const PhraseIdModel *>(index.model());
    const std::optional<Phrase> phrase = model ? model->phraseAt(index.row()) : std::nullopt;
    if (!phrase)
        return;
    QPainter &p = *painter;
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    const QRect row = option.rect.adjusted(0, 0, 0, -gap);

    // The list's own palette has the transparent background of its style sheet.
    const QPalette &palette = option.widget ? option.widget->window()->palette() : option.palette;
    const bool selected = option.state & QStyle::State_Selected;
    const bool hovered = hovered_.isValid() && hovered_ == index;
    if (selected || hovered) {
        QPainterPath shape;
        shape.addRoundedRect(QRectF(row).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
        p.fillPath(shape, selected ? ThemeColors::selectionFill(palette) : ThemeColors::subtleFill(palette));
        if (selected) {
            p.setPen(ThemeColors::selectionOutline(palette));
            p.drawPath(shape);
        }
    }

    const QRect button = sendButtonRect(option.rect);
    if (hovered && hoverOnButton_)
        p.fillRect(button, SendButton::highlightColor(palette));
    p.setPen(palette.color(QPalette::ButtonText));
    p.drawText(button, Qt::AlignCenter, QStringLiteral("Send"));

    QFont bold = option.font;
    bold.setWeight(QFont::DemiBold);
    const QString key = model->keyword();
    const QColor labelColor = ThemeColors::text(palette);
    const QColor valueColor = ThemeColors::mutedText(palette);
    const QColor background = palette.color(QPalette::Window);
    if (layout_ == Layout::OneLine) {
        const int textRight = button.left() - 8;
        const QRect labelRect(row.left() + leftMargin, row.top(), oneLineLabelWidth, row.height());
        const QRect valueRect(labelRect.right() + 1 + 8, row.top(),
                              qMax(0, textRight - labelRect.right() - 8), row.height());
        p.setFont(bold);
        drawAttributed(p, labelRect, AttributedString{phrase->label, {}}, labelColor, background);
        p.setFont(option.font);
        drawAttributed(p, valueRect, AttributedString{previewOf(phrase->content), {}}, valueColor,
                       background);
    } else {
        const QRect texts = QRect(row.left() + leftMargin, row.top() + 5, 0, row.height() - 8)
                                .adjusted(0, 0, button.left() - 6 - row.left() - leftMargin, 0);
        QRect labelRect(texts.left(), texts.top(), texts.width(), (texts.height() - 1) / 2);
        const QRect valueRect(texts.left(), labelRect.bottom() + 3, texts.width(), labelRect.height());
        if (const QString badge = badge_ ? badge_(*phrase) : QString(); !badge.isEmpty()) {
            QFont small = option.font;
            small.setPixelSize(10);
            p.setFont(small);
            const int width = qMin(QFontMetrics(small).horizontalAdvance(badge) + 10, labelRect.width() / 2);
            const QRect badgeRect(labelRect.left(), labelRect.center().y() - 7, width, 14);
            QPainterPath shape;
            shape.addRoundedRect(QRectF(badgeRect), 6, 6);
            p.fillPath(shape, QColor(47, 111, 181));
            p.setPen(Qt::white);
            p.drawText(badgeRect, Qt::AlignCenter,
                       QFontMetrics(small).elidedText(badge, Qt::ElideRight, width - 6));
            labelRect.setLeft(badgeRect.right() + 6);
        }
        p.setFont(bold);
        drawAttributed(p, labelRect, labelText(*phrase, key), labelColor, background);
        p.setFont(option.font);
        drawAttributed(p, valueRect, valueText(*phrase, key), valueColor, background);
    }
    p.restore();
}

QString PhraseRowDelegate::previewOf(const PhraseContent &content) {
    QString out;
    for (const PhraseContent::Piece &piece : content.pieces())
        out += piece.isText() ? piece.value : QString::fromUtf8("[图]");
    return out;
}

AttributedString PhraseRowDelegate::labelText(const Phrase &d, const QString &key) {
    return KeywordColouring::setKeyColor(d.label, key, labelKeyColor(), false);
}

AttributedString PhraseRowDelegate::valueText(const Phrase &d, const QString &key) {
    if (d.content.joinedText())
        return KeywordColouring::setKeyColor(d.content.compactText(), key, valueKeyColor(), false);
    if (!d.content.allPictureNames().isEmpty()) {
        // Pictures only: the marker in the label colour as a whole.
        const QString marker = QString::fromUtf8("[图]");
        return AttributedString{marker, {{0, marker.size(), labelKeyColor(), false}}};
    }
    return {};
}
