#include "desktop/wayland/applicationicon.h"

#include "desktop/desktopentry.h"

#include <QCoreApplication>
#include <QIcon>
#include <QStandardPaths>
#include <QThread>

QImage ApplicationIcon::forApplication(const QString &appId, const QString &themedName) {
    const QString entry = appId.isEmpty() ? QString()
                                          : QStandardPaths::locate(QStandardPaths::ApplicationsLocation,
                                                                   appId + QStringLiteral(".desktop"));
    const QString icon =
        entry.isEmpty() ? themedName : DesktopEntry::read(entry).value(QStringLiteral("Icon"), themedName);
    if (icon.isEmpty())
        return {};
    if (icon.startsWith(QLatin1Char('/')))
        return QImage(icon);
    const auto *app = QCoreApplication::instance();
    if (!app || QThread::currentThread() != app->thread())
        return {};
    return QIcon::fromTheme(icon).pixmap(64, 64).toImage();
}
