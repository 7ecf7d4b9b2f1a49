#include "desktop/colorschemeportal.h"

#include "model/logging.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace {

const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");

// Read answers a variant inside a variant (ReadOne, which newer portals add, one level less).
QVariant unwrap(QVariant value) {
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    if (value.canConvert<QDBusArgument>()) {
        QDBusVariant inner;
        value.value<QDBusArgument>() >> inner;
        return unwrap(inner.variant());
    }
    return value;
}

} // namespace

ColorSchemePortal::ColorSchemePortal(const QDBusConnection &connection, QObject *parent)
    : QObject(parent), connection_(connection) {
    if (!connection_.isConnected())
        return;
    connection_.connect(QString::fromLatin1(service), QString::fromLatin1(path),
                        QString::fromLatin1(interface), QStringLiteral("SettingChanged"), this,
                        SLOT(settingChanged(QDBusMessage)));
    QDBusMessage read =
        QDBusMessage::createMethodCall(QString::fromLatin1(service), QString::fromLatin1(path),
                                       QString::fromLatin1(interface), QStringLiteral("Read"));
    read << appearance << colorScheme;
    auto *watcher = new QDBusPendingCallWatcher(connection_.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (reply.isError()) {
            // No portal, or one without the setting: the style's palette stays.
            qCDebug(lcDesktop, "no colour scheme from the portal: %s",
                    qUtf8Printable(reply.error().message()));
            return;
        }
        take(reply.argumentAt(0));
    });
}

void ColorSchemePortal::settingChanged(const QDBusMessage &message) {
    const QVariantList arguments = message.arguments();
    if (arguments.size() == 3 && arguments[0].toString() == appearance &&
        arguments[1].toString() == colorScheme)
        take(arguments[2]);
}

void ColorSchemePortal::take(const QVariant &value) {
    const QVariant plain = unwrap(value);
    bool ok = false;
    const uint number = plain.toUInt(&ok);
    // Values the portal may add later mean no preference.
    const Scheme scheme = ok && number <= 2 ? Scheme(number) : Scheme::NoPreference;
    if (scheme == scheme_)
        return;
    scheme_ = scheme;
    Q_EMIT changed(scheme);
}
