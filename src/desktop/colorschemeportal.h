#pragma once

#include <QDBusConnection>
#include <QObject>

class QDBusMessage;

// The desktop's light or dark preference, as the desktop portal's settings interface tells it
// (org.freedesktop.appearance color-scheme), and each change of it while the program runs.
class ColorSchemePortal : public QObject {
    Q_OBJECT
public:
    // The portal's values: 0 no preference, 1 prefer dark, 2 prefer light.
    enum class Scheme { NoPreference = 0, Dark = 1, Light = 2 };
    Q_ENUM(Scheme)

    static constexpr const char *service = "org.freedesktop.portal.Desktop";
    static constexpr const char *path = "/org/freedesktop/portal/desktop";
    static constexpr const char *interface = "org.freedesktop.portal.Settings";

    // Reads the setting once (asynchronously) and follows its changes on that bus.
    explicit ColorSchemePortal(const QDBusConnection &connection = QDBusConnection::sessionBus(),
                               QObject *parent = nullptr);

    // No preference until the portal has answered, and where there is no portal.
    Scheme scheme() const { return scheme_; }

Q_SIGNALS:
    void changed(ColorSchemePortal::Scheme scheme);

private Q_SLOTS:
    void settingChanged(const QDBusMessage &message);

private:
    void take(const QVariant &value);

    QDBusConnection connection_;
    Scheme scheme_ = Scheme::NoPreference;
};
