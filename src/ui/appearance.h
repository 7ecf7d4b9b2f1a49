#pragma once

#include "desktop/colorschemeportal.h"

#include <QObject>
#include <QPalette>

// Light or dark as the desktop prefers: the portal's colour scheme where the desktop has one, else
// the palette of the Qt style and platform. A change while the program runs repaints every window.
class Appearance : public QObject {
    Q_OBJECT
public:
    explicit Appearance(const QDBusConnection &bus = QDBusConnection::sessionBus(),
                        QObject *parent = nullptr);

    // Applies a scheme now (the portal's next change replaces it).
    void apply(ColorSchemePortal::Scheme scheme);
    bool isDark() const;

    // A dark palette for styles that have none of their own.
    static QPalette darkPalette();

Q_SIGNALS:
    void changed();

private:
    ColorSchemePortal portal_;
    // What the style and the platform give, before any scheme is applied.
    QPalette own_;
};
