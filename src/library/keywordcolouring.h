#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <QStringList>

// A text with colour (and optional strike-through) over some of its ranges.
struct AttributedString {
    struct Run {
        qsizetype location = 0;
        qsizetype length = 0;
        QColor color;
        bool lineThrough = false;
    };
    QString text;
    QList<Run> runs;

    // Rich text for a label: runs become coloured spans, everything else is escaped.
    QString toHtml() const;
    // The same for the first `length` text units only, followed by "…" when text was cut.
    QString toHtml(qsizetype length) const;
    // The longest prefix that fits `width` pixels with "…" after it; the whole length when all fits.
    qsizetype fittingLength(const class QFontMetrics &metrics, int width) const;
};

// Text colouring of keyword occurrences (the string extension of the search results).
namespace KeywordColouring {

// Every occurrence of key is coloured, except one that ends exactly at the end of the text: the
// range must end strictly before the text's character count. Search is case-sensitive.
AttributedString setKeyColor(const QString &text, const QString &keyString, const QColor &keyColor,
                             bool isLineThrough = false);
AttributedString setKeyColorAll(const QString &text, const QStringList &keyStrings, const QColor &keyColor,
                                bool isLineThrough = false);
AttributedString setKeyColorAll(const QString &text, const QStringList &keyStrings,
                                const QList<QColor> &keyColors, bool isLineThrough = false);

// Non-overlapping ranges (location, length) of key in text, in order.
QList<QPair<qsizetype, qsizetype>> rangesOf(const QString &text, const QString &key);
// User-perceived characters (a surrogate pair or a base with its marks is one).
qsizetype characterCount(const QString &text);

} // namespace KeywordColouring
