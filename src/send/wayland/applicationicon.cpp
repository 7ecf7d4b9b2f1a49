#include "send/wayland/applicationicon.h"

#include <QCoreApplication>
#include <QFile>
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
    const QString icon = iconKey(entry);
    if (icon.isEmpty())
        return {};
    if (icon.startsWith(QLatin1Char('/')))
        return QImage(icon);
    const auto *app = QCoreApplication::instance();
    if (!app || QThread::currentThread() != app->thread())
        return {};
    return QIcon::fromTheme(icon).pixmap(64, 64).toImage();
}

QString ApplicationIcon::iconKey(const QString &desktopFile) {
    QFile file(desktopFile);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    bool inEntry = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('[')))
            inEntry = line == QLatin1String("[Desktop Entry]");
        else if (inEntry && line.startsWith(QLatin1String("Icon=")))
            return line.mid(5).trimmed();
    }
    return {};
}
