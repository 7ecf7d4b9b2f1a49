#include "send/wayland/applicationicon.h"

#include "send/applicationnames.h"

#include <QCoreApplication>
#include <QIcon>
#include <QStandardPaths>
#include <QThread>

QImage ApplicationIcon::forApplication(const QString &appId) {
    if (appId.isEmpty())
        return {};
    const QString entry =
        QStandardPaths::locate(QStandardPaths::ApplicationsLocation, appId + QStringLiteral(".desktop"));
    if (entry.isEmpty())
        return {};
    const QString icon = ApplicationNames::desktopEntry(entry).value(QStringLiteral("Icon"));
    if (icon.isEmpty())
        return {};
    if (icon.startsWith(QLatin1Char('/')))
        return QImage(icon);
    const auto *app = QCoreApplication::instance();
    if (!app || QThread::currentThread() != app->thread())
        return {};
    return QIcon::fromTheme(icon).pixmap(64, 64).toImage();
}
