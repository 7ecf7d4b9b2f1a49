#include "ui/appearance.h"

#include "model/logging.h"
#include "ui/palettestylesheet.h"
#include "ui/themecolors.h"

#include <QApplication>
#include <QStyle>

Appearance::Appearance(const QDBusConnection &bus, QObject *parent)
    : QObject(parent), portal_(bus), own_(QApplication::palette()) {
    connect(&portal_, &ColorSchemePortal::changed, this, &Appearance::apply);
}

bool Appearance::isDark() const {
    return ThemeColors::isDark(QApplication::palette());
}

void Appearance::apply(ColorSchemePortal::Scheme scheme) {
    QPalette palette = own_;
    // The platform's palette is kept where it already matches the preference (a dark desktop theme).
    if (scheme == ColorSchemePortal::Scheme::Dark && !ThemeColors::isDark(own_))
        palette = darkPalette();
    else if (scheme == ColorSchemePortal::Scheme::Light && ThemeColors::isDark(own_))
        palette = QApplication::style()->standardPalette();
    qCInfo(lcApp, "colour scheme: %s", ThemeColors::isDark(palette) ? "dark" : "light");
    QApplication::setPalette(palette);
    PaletteStyleSheet::refreshAll();
    Q_EMIT changed();
}

QPalette Appearance::darkPalette() {
    const QColor window(0x24, 0x25, 0x28), base(0x1c, 0x1d, 0x20), text(0xe6, 0xe8, 0xeb);
    const QColor button(0x30, 0x32, 0x36), highlight(0x3d, 0x8b, 0xd9), disabled(0x80, 0x84, 0x8a);
    QPalette p;
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, button);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, disabled);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, button);
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Light, button.lighter(140));
    p.setColor(QPalette::Midlight, button.lighter(120));
    p.setColor(QPalette::Mid, button.darker(120));
    p.setColor(QPalette::Dark, button.darker(160));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Highlight, highlight);
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, QColor(0x6c, 0xb0, 0xf5));
    p.setColor(QPalette::LinkVisited, QColor(0xb0, 0x8c, 0xf0));
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, disabled);
    return p;
}
