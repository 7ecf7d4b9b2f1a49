#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

// The colours of the custom-painted parts, made from a palette so that they stay legible in a light
// and in a dark scheme alike.
namespace ThemeColors {

bool isDark(const QPalette &palette);
// a moved towards b by amount (0..1).
QColor mix(const QColor &a, const QColor &b, qreal amount);

QColor text(const QPalette &palette);
// Captions and previews: between the text and the background.
QColor mutedText(const QPalette &palette);
// A field or chip a little apart from the background, and the same under the pointer.
QColor subtleFill(const QPalette &palette);
QColor hoverFill(const QPalette &palette);
QColor separator(const QPalette &palette);
// The selected row's fill and outline.
QColor selectionFill(const QPalette &palette);
QColor selectionOutline(const QPalette &palette);
// The program's green (buttons, the selected class) with white on it, in both schemes.
QColor accent();
QColor error(const QPalette &palette);

// color moved away from background until it reads against it (contrast 4.5:1 where it can).
QColor legibleOn(const QColor &color, const QColor &background);
// The colour as a style sheet value, with its alpha.
QString css(const QColor &color);

} // namespace ThemeColors
