#pragma once

#include <QDBusContext>
#include <QDBusVariant>
#include <QObject>
#include <QVariant>

// The desktop portal's settings interface as a test serves it on its private session bus: the
// appearance colour scheme (0 no preference, 1 dark, 2 light), and its change signal.
class SettingsPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    // Takes the portal's name on the session bus; false when that fails.
    bool start(uint colorScheme);
    // Changes the scheme and signals it, as the portal does when the user switches.
    void setColorScheme(uint colorScheme);

public Q_SLOTS:
    QDBusVariant Read(const QString &group, const QString &key);

Q_SIGNALS:
    void SettingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    uint scheme_ = 0;
};
