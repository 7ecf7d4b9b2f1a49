#include "settingsportal.h"

#include <QDBusConnection>

bool SettingsPortal::start(uint colorScheme) {
    scheme_ = colorScheme;
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
                              QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
           bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
}

void SettingsPortal::setColorScheme(uint colorScheme) {
    scheme_ = colorScheme;
    Q_EMIT SettingChanged(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"),
                          QDBusVariant(QVariant::fromValue(scheme_)));
}

QDBusVariant SettingsPortal::Read(const QString &group, const QString &key) {
    if (group != QLatin1String("org.freedesktop.appearance") || key != QLatin1String("color-scheme")) {
        // As the portal answers for a setting it does not have.
        sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                       QStringLiteral("Requested setting not found"));
        return {};
    }
    // The portal answers a variant inside the variant.
    return QDBusVariant(QVariant::fromValue(QDBusVariant(QVariant::fromValue(scheme_))));
}
