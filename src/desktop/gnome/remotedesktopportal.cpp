#include "desktop/gnome/remotedesktopportal.h"
#include "model/logging.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace {

constexpr const char *requestInterface = "org.freedesktop.portal.Request";
constexpr const char *sessionInterface = "org.freedesktop.portal.Session";
// The device types of SelectDevices, and how long the permission lasts.
constexpr quint32 keyboardDevice = 1;
constexpr quint32 persistUntilRevoked = 2;
// Response codes.
constexpr quint32 responseCancelled = 1;
// A key call returns as soon as the portal has passed the key on to the shell.
constexpr int keyTimeoutMs = 2000;

QDBusMessage portalCall(const QString &method) {
    return QDBusMessage::createMethodCall(QLatin1String(RemoteDesktopPortal::service),
                                          QLatin1String(RemoteDesktopPortal::path),
                                          QLatin1String(RemoteDesktopPortal::interface), method);
}

} // namespace

RemoteDesktopPortal::RemoteDesktopPortal(const QDBusConnection &connection, const QString &restoreToken,
                                         std::function<void(const QString &)> keepToken)
    : connection_(connection), restoreToken_(restoreToken), keepToken_(std::move(keepToken)) {}

RemoteDesktopPortal::~RemoteDesktopPortal() {
    std::lock_guard lock(mutex_);
    if (!session_.path().isEmpty())
        connection_.call(QDBusMessage::createMethodCall(QLatin1String(service), session_.path(),
                                                        QLatin1String(sessionInterface),
                                                        QStringLiteral("Close")),
                         QDBus::NoBlock);
}

RemoteDesktopPortal::State RemoteDesktopPortal::state() const {
    std::lock_guard lock(mutex_);
    return state_;
}

bool RemoteDesktopPortal::waitReady(int timeoutMs) const {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                      [this] { return state_ != State::Starting; });
    return state_ == State::Ready;
}

void RemoteDesktopPortal::open() {
    // The interface's version says whether the portal is there at all; a portal without it
    // (no back-end for this desktop, or one too old) answers with an error.
    QDBusMessage get = QDBusMessage::createMethodCall(QLatin1String(service), QLatin1String(path),
                                                      QStringLiteral("org.freedesktop.DBus.Properties"),
                                                      QStringLiteral("Get"));
    get.setArguments({QLatin1String(interface), QStringLiteral("version")});
    auto *watcher = new QDBusPendingCallWatcher(connection_.asyncCall(get), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        if (QDBusPendingReply<QDBusVariant>(*w).isError())
            fail(QStringLiteral("缺少桌面门户的远程桌面接口（%1）").arg(QLatin1String(interface)));
        else
            createSession();
    });
}

void RemoteDesktopPortal::createSession() {
    const QString sessionToken = QStringLiteral("quillora_session%1").arg(++tokens_);
    request(QStringLiteral("CreateSession"), {}, {{QStringLiteral("session_handle_token"), sessionToken}},
            [this](quint32 code, const QVariantMap &results) {
                if (code != 0) {
                    fail(QStringLiteral("桌面门户未能建立远程桌面会话"));
                    return;
                }
                // A string in the results, though it names an object.
                const QString handle = results.value(QStringLiteral("session_handle")).toString();
                {
                    std::lock_guard lock(mutex_);
                    session_ = QDBusObjectPath(handle);
                }
                connection_.connect(QLatin1String(service), handle, QLatin1String(sessionInterface),
                                    QStringLiteral("Closed"), this, SLOT(onClosed(QDBusMessage)));
                selectDevices(QDBusObjectPath(handle));
            });
}

void RemoteDesktopPortal::selectDevices(const QDBusObjectPath &session) {
    QVariantMap options{{QStringLiteral("types"), keyboardDevice},
                        {QStringLiteral("persist_mode"), persistUntilRevoked}};
    if (!restoreToken_.isEmpty())
        options.insert(QStringLiteral("restore_token"), restoreToken_);
    request(QStringLiteral("SelectDevices"), {QVariant::fromValue(session)}, options,
            [this, session](quint32 code, const QVariantMap &) {
                if (code != 0)
                    fail(code == responseCancelled ? QStringLiteral("用户拒绝了远程控制请求")
                                                   : QStringLiteral("桌面门户拒绝了键盘设备"));
                else
                    start(session);
            });
}

void RemoteDesktopPortal::start(const QDBusObjectPath &session) {
    // The permission dialog, when there is one, comes with Start; a restored session skips it.
    request(QStringLiteral("Start"), {QVariant::fromValue(session), QString()}, {},
            [this](quint32 code, const QVariantMap &results) {
                if (code != 0) {
                    fail(code == responseCancelled ? QStringLiteral("用户拒绝了远程控制请求")
                                                   : QStringLiteral("桌面门户未能开始远程控制"));
                    return;
                }
                // A token is good for one start: the next start needs the one given now.
                const QString token = results.value(QStringLiteral("restore_token")).toString();
                if (!token.isEmpty() && keepToken_)
                    keepToken_(token);
                if (!(results.value(QStringLiteral("devices")).toUInt() & keyboardDevice)) {
                    fail(QStringLiteral("用户未允许使用键盘"));
                    return;
                }
                ready();
            });
}

void RemoteDesktopPortal::request(const QString &method, QVariantList arguments, QVariantMap options,
                                  Next next) {
    // The Request object's path is known before the call: the portal derives it from our unique
    // name and the handle token. Listening first means no Response can come before we listen.
    const QString token = QStringLiteral("quillora%1").arg(++tokens_);
    QString sender = connection_.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    options.insert(QStringLiteral("handle_token"), token);
    next_ = std::move(next);
    listen(QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token));

    QDBusMessage message = portalCall(method);
    arguments.append(options);
    message.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(connection_.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, method](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *w;
        if (reply.isError()) {
            fail(QStringLiteral("桌面门户拒绝了 %1：%2").arg(method, reply.error().message()));
            return;
        }
        // Portals older than the handle token scheme choose the path themselves.
        if (reply.value().path() != requestPath_)
            listen(reply.value().path());
    });
}

void RemoteDesktopPortal::listen(const QString &requestPath) {
    if (!requestPath_.isEmpty())
        connection_.disconnect(QLatin1String(service), requestPath_, QLatin1String(requestInterface),
                               QStringLiteral("Response"), this, SLOT(onResponse(QDBusMessage)));
    requestPath_ = requestPath;
    connection_.connect(QLatin1String(service), requestPath_, QLatin1String(requestInterface),
                        QStringLiteral("Response"), this, SLOT(onResponse(QDBusMessage)));
}

void RemoteDesktopPortal::onResponse(const QDBusMessage &message) {
    if (message.path() != requestPath_ || message.arguments().size() != 2 || !next_)
        return;
    const quint32 code = message.arguments().at(0).toUInt();
    const QVariantMap results = qdbus_cast<QVariantMap>(message.arguments().at(1));
    Next next = std::move(next_);
    next_ = nullptr;
    next(code, results);
}

void RemoteDesktopPortal::onClosed(const QDBusMessage &) {
    fail(QStringLiteral("远程控制会话已被桌面关闭"));
}

void RemoteDesktopPortal::fail(const QString &reason) {
    {
        std::lock_guard lock(mutex_);
        if (state_ == State::Unavailable)
            return;
        state_ = State::Unavailable;
    }
    changed_.notify_all();
    // Said once, in the words the agent sees in the log; everything but the keys goes on working.
    qCInfo(lcDesktop, "此桌面不允许模拟按键：%s", qUtf8Printable(reason));
}

void RemoteDesktopPortal::ready() {
    {
        std::lock_guard lock(mutex_);
        if (state_ != State::Starting)
            return;
        state_ = State::Ready;
    }
    changed_.notify_all();
    qCInfo(lcDesktop, "remote desktop portal: keyboard session started");
}

bool RemoteDesktopPortal::keycode(int code, bool pressed) {
    return notify("NotifyKeyboardKeycode", code, pressed);
}

bool RemoteDesktopPortal::keysym(int sym, bool pressed) {
    return notify("NotifyKeyboardKeysym", sym, pressed);
}

bool RemoteDesktopPortal::notify(const char *method, int value, bool pressed) {
    QDBusObjectPath session;
    {
        std::lock_guard lock(mutex_);
        if (state_ != State::Ready)
            return false;
        session = session_;
    }
    QDBusMessage message = portalCall(QLatin1String(method));
    message.setArguments({QVariant::fromValue(session), QVariantMap(), value, quint32(pressed ? 1 : 0)});
    return connection_.call(message, QDBus::Block, keyTimeoutMs).type() == QDBusMessage::ReplyMessage;
}
