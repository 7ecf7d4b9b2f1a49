#include "ui/themecolors.h"

#include <cmath>

namespace {

qreal luminance(const QColor &c) {
    const auto channel = [](qreal v) {
        return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) + 0.0722 * channel(c.blueF());
}

qreal contrast(const QColor &a, const QColor &b) {
    const qreal la = luminance(a), lb = luminance(b);
    return (qMax(la, lb) + 0.05) / (qMin(la, lb) + 0.05);
}

} // namespace

namespace ThemeColors {

bool isDark(const QPalette &palette) {
    return palette.color(QPalette::Window).lightness() < 128;
}

QColor mix(const QColor &a, const QColor &b, qreal amount) {
    const auto at = [amount](qreal x, qreal y) { return x + (y - x) * amount; };
    return QColor::fromRgbF(float(at(a.redF(), b.redF())), float(at(a.greenF(), b.greenF())),
                            float(at(a.blueF(), b.blueF())), float(at(a.alphaF(), b.alphaF())));
}

QColor text(const QPalette &palette) {
    return palette.color(QPalette::WindowText);
}

QColor mutedText(const QPalette &palette) {
    return mix(text(palette), palette.color(QPalette::Window), 0.42);
}

QColor subtleFill(const QPalette &palette) {
    return mix(palette.color(QPalette::Base), text(palette), isDark(palette) ? 0.07 : 0.035);
}

QColor hoverFill(const QPalette &palette) {
    return mix(palette.color(QPalette::Base), text(palette), isDark(palette) ? 0.13 : 0.08);
}

QColor separator(const QPalette &palette) {
    return mix(palette.color(QPalette::Window), text(palette), isDark(palette) ? 0.16 : 0.09);
}

QColor selectionFill(const QPalette &palette) {
    return mix(palette.color(QPalette::Base), palette.color(QPalette::Highlight),
               isDark(palette) ? 0.35 : 0.16);
}

QColor selectionOutline(const QPalette &palette) {
    return mix(palette.color(QPalette::Base), palette.color(QPalette::Highlight), 0.6);
}

QColor accent() {
    return QColor(46, 154, 110);
}

QColor error(const QPalette &palette) {
    return legibleOn(QColor(192, 57, 43), palette.color(QPalette::Window));
}

QColor legibleOn(const QColor &color, const QColor &background) {
    const bool lighten = luminance(background) < 0.25;
    QColor c = color;
    for (int step = 0; step < 12 && contrast(c, background) < 4.5; ++step)
        c = mix(c, lighten ? QColor(Qt::white) : QColor(Qt::black), 0.15);
    return c;
}

QString css(const QColor &color) {
    return QStringLiteral("rgba(%1,%2,%3,%4)")
        .arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alphaF(), 0, 'f', 3);
}

} // namespace ThemeColors
