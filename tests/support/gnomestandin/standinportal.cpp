#include "standinportal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QTimer>

namespace {

QString senderPart(const QString &uniqueName) {
    QString part = uniqueName.mid(1);
    part.replace(QLatin1Char('.'), QLatin1Char('_'));
    return part;
}

} // namespace

QString StandinPortal::requestPath(const QVariantMap &options) const {
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
        .arg(senderPart(message().service()), options.value(QStringLiteral("handle_token")).toString());
}

void StandinPortal::respond(const QString &request, quint32 code, const QVariantMap &results) {
    QTimer::singleShot(0, this, [request, code, results] {
        QDBusMessage signal = QDBusMessage::createSignal(
            request, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
        signal << code << results;
        QDBusConnection::sessionBus().send(signal);
    });
}

StandinPortal::Session *StandinPortal::callersSession(const QDBusObjectPath &session) {
    auto it = sessions_.find(session.path());
    if (it == sessions_.end() || it->owner != message().service()) {
        sendErrorReply(QDBusError::AccessDenied, QStringLiteral("Invalid session"));
        return nullptr;
    }
    return &*it;
}

QDBusObjectPath StandinPortal::CreateSession(const QVariantMap &options) {
    const QString request = requestPath(options);
    const QString session = QStringLiteral("/org/freedesktop/portal/desktop/session/%1/%2")
                                .arg(senderPart(message().service()),
                                     options.value(QStringLiteral("session_handle_token")).toString());
    sessions_.insert(session, Session{message().service()});
    log_ << "create-session" << Qt::endl;
    respond(request, 0, {{QStringLiteral("session_handle"), session}});
    return QDBusObjectPath(request);
}

QDBusObjectPath StandinPortal::SelectDevices(const QDBusObjectPath &session, const QVariantMap &options) {
    Session *s = callersSession(session);
    if (!s)
        return {};
    const QString request = requestPath(options);
    const QString token = options.value(QStringLiteral("restore_token")).toString();
    s->persistMode = options.value(QStringLiteral("persist_mode")).toUInt();
    s->restored = validTokens_.remove(token);
    log_ << "select-devices types=" << options.value(QStringLiteral("types")).toUInt()
         << " persist=" << s->persistMode << " token=" << (token.isEmpty() ? QStringLiteral("-") : token)
         << Qt::endl;
    respond(request, 0, {});
    return QDBusObjectPath(request);
}

QDBusObjectPath StandinPortal::Start(const QDBusObjectPath &session, const QString &,
                                     const QVariantMap &options) {
    Session *s = callersSession(session);
    if (!s)
        return {};
    const QString request = requestPath(options);
    if (!s->restored) {
        // The dialog asking the user.
        log_ << "consent" << Qt::endl;
        if (refuse_) {
            log_ << "refused" << Qt::endl;
            sessions_.remove(session.path());
            respond(request, 1, {});
            return QDBusObjectPath(request);
        }
    }
    s->started = true;
    QVariantMap results{{QStringLiteral("devices"), quint32(1)}};
    if (s->persistMode == 2) {
        const QString token = QStringLiteral("token%1").arg(++issued_);
        validTokens_.insert(token);
        results.insert(QStringLiteral("restore_token"), token);
    }
    log_ << "start" << Qt::endl;
    respond(request, 0, results);
    return QDBusObjectPath(request);
}

void StandinPortal::key(const QDBusObjectPath &session, bool keysym, int value, quint32 state) {
    Session *s = callersSession(session);
    if (!s)
        return;
    if (!s->started) {
        sendErrorReply(QDBusError::AccessDenied, QStringLiteral("Session is not started"));
        return;
    }
    log_ << (keysym ? "keysym 0x" : "keycode ") << QString::number(value, keysym ? 16 : 10)
         << (state == 1 ? " down" : " up") << Qt::endl;
}

void StandinPortal::NotifyKeyboardKeycode(const QDBusObjectPath &session, const QVariantMap &, int keycode,
                                          quint32 state) {
    key(session, false, keycode, state);
}

void StandinPortal::NotifyKeyboardKeysym(const QDBusObjectPath &session, const QVariantMap &, int keysym,
                                         quint32 state) {
    key(session, true, keysym, state);
}
