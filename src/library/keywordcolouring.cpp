#include "library/keywordcolouring.h"

#include <QFontMetrics>
#include <QTextBoundaryFinder>
#include <algorithm>

QString AttributedString::toHtml() const {
    return toHtml(text.size());
}

qsizetype AttributedString::fittingLength(const QFontMetrics &metrics, int width) const {
    const QString elided = metrics.elidedText(text, Qt::ElideRight, width);
    if (elided == text)
        return text.size();
    // elidedText ends the kept part with one ellipsis character.
    return qMax<qsizetype>(0, elided.size() - 1);
}

QString AttributedString::toHtml(qsizetype length) const {
    const bool cut = length < text.size();
    const QString text = cut ? this->text.left(qMax<qsizetype>(0, length)) : this->text;
    QList<Run> sorted = runs;
    std::sort(sorted.begin(), sorted.end(),
              [](const Run &a, const Run &b) { return a.location < b.location; });
    QString html;
    qsizetype pos = 0;
    for (const Run &r : sorted) {
        if (r.location < pos)
            continue;
        if (r.location >= text.size())
            break;
        html += text.mid(pos, r.location - pos).toHtmlEscaped();
        html += QStringLiteral("<span style=\"color:%1;%2\">")
                    .arg(r.color.name(), r.lineThrough ? "text-decoration:line-through;" : "");
        html += text.mid(r.location, r.length).toHtmlEscaped();
        html += QStringLiteral("</span>");
        pos = r.location + r.length;
    }
    html += text.mid(pos).toHtmlEscaped();
    if (cut)
        html += QStringLiteral("…");
    return html;
}

QList<QPair<qsizetype, qsizetype>> KeywordColouring::rangesOf(const QString &text, const QString &key) {
    QList<QPair<qsizetype, qsizetype>> ranges;
    if (key.isEmpty())
        return ranges;
    qsizetype offset = 0;
    while (offset < text.size()) {
        const qsizetype at = text.indexOf(key, offset, Qt::CaseSensitive);
        if (at < 0)
            break;
        ranges.append({at, key.size()});
        offset = at + key.size();
    }
    return ranges;
}

qsizetype KeywordColouring::characterCount(const QString &text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() >= 0)
        ++count;
    return count;
}

namespace {

void colourKeyword(AttributedString &target, const QString &keyString, const QColor &keyColor,
                   bool isLineThrough) {
    const qsizetype characters = KeywordColouring::characterCount(target.text);
    for (const auto &[location, length] : KeywordColouring::rangesOf(target.text, keyString)) {
        // An occurrence that ends at the very end of the text stays plain, on purpose.
        if (location + length < characters)
            target.runs.append({location, length, keyColor, isLineThrough});
    }
}

} // namespace

AttributedString KeywordColouring::setKeyColor(const QString &text, const QString &keyString,
                                               const QColor &keyColor, bool isLineThrough) {
    AttributedString out{text, {}};
    colourKeyword(out, keyString, keyColor, isLineThrough);
    return out;
}

AttributedString KeywordColouring::setKeyColorAll(const QString &text, const QStringList &keyStrings,
                                                  const QColor &keyColor, bool isLineThrough) {
    AttributedString out{text, {}};
    for (const QString &key : keyStrings)
        colourKeyword(out, key, keyColor, isLineThrough);
    return out;
}

AttributedString KeywordColouring::setKeyColorAll(const QString &text, const QStringList &keyStrings,
                                                  const QList<QColor> &keyColors, bool isLineThrough) {
    AttributedString out{text, {}};
    for (qsizetype i = 0; i < keyStrings.size() && i < keyColors.size(); ++i)
        colourKeyword(out, keyStrings[i], keyColors[i], isLineThrough);
    return out;
}
