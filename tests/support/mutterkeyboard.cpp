#include "mutterkeyboard.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QTest>

namespace {

constexpr const char *service = "org.gnome.Mutter.RemoteDesktop";
constexpr const char *sessionInterface = "org.gnome.Mutter.RemoteDesktop.Session";

QDBusMessage call(const QString &path, const char *interface, const QString &method,
                  const QVariantList &arguments = {}) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(QLatin1String(service), path, QLatin1String(interface), method);
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message, QDBus::Block, 10000);
}

} // namespace

MutterKeyboard::~MutterKeyboard() {
    close();
}

QString MutterKeyboard::open() {
    const QDBusMessage created =
        call(QStringLiteral("/org/gnome/Mutter/RemoteDesktop"), service, QStringLiteral("CreateSession"));
    if (created.type() != QDBusMessage::ReplyMessage)
        return created.errorMessage();
    session_ = qvariant_cast<QDBusObjectPath>(created.arguments().value(0)).path();
    const QDBusMessage started = call(session_, sessionInterface, QStringLiteral("Start"));
    if (started.type() != QDBusMessage::ReplyMessage)
        return started.errorMessage();
    // The seat gets its keyboard with the first key.
    return press({shiftKey}) ? QString() : QStringLiteral("no key went through");
}

void MutterKeyboard::close() {
    if (session_.isEmpty())
        return;
    call(session_, sessionInterface, QStringLiteral("Stop"));
    session_.clear();
}

bool MutterKeyboard::press(const QList<quint32> &keysyms) {
    bool ok = true;
    for (quint32 keysym : keysyms)
        ok = key(keysym, true) && ok;
    // Held as a user holds a shortcut: the shell passes keys on to a window once a frame but tells
    // it at once that a modifier came up, so a quick Alt+S would reach the window as "s".
    QTest::qWait(100);
    for (auto it = keysyms.crbegin(); it != keysyms.crend(); ++it)
        ok = key(*it, false) && ok;
    return ok;
}

bool MutterKeyboard::key(quint32 keysym, bool pressed) {
    return !session_.isEmpty() &&
           call(session_, sessionInterface, QStringLiteral("NotifyKeyboardKeysym"), {keysym, pressed})
                   .type() == QDBusMessage::ReplyMessage;
}
