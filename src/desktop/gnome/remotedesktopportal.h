#pragma once

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <condition_variable>
#include <functional>
#include <mutex>

class QDBusMessage;

// A keyboard-only session of the desktop portal's remote desktop interface, the one way GNOME lets
// another program synthesise keys. Opened once with persist_mode 2: the first start asks the user,
// later starts present the restore token the portal gave and ask nothing. The set-up is a chain of
// asynchronous calls and Response signals on the thread this object lives in; the keys are plain
// calls from any thread once the session runs.
class RemoteDesktopPortal : public QObject {
    Q_OBJECT

public:
    enum class State { Starting, Ready, Unavailable };

    static constexpr const char *service = "org.freedesktop.portal.Desktop";
    static constexpr const char *path = "/org/freedesktop/portal/desktop";
    static constexpr const char *interface = "org.freedesktop.portal.RemoteDesktop";

    // keepToken is called, on this object's thread, with each new restore token.
    RemoteDesktopPortal(const QDBusConnection &connection, const QString &restoreToken,
                        std::function<void(const QString &)> keepToken);
    ~RemoteDesktopPortal() override;

    // Starts the set-up; on this object's thread.
    Q_INVOKABLE void open();

    State state() const;
    // Until the set-up has ended or the time is up; true when the session runs. Never on the
    // thread of this object.
    bool waitReady(int timeoutMs) const;

    // A key by its evdev code, or by its keysym (the shell finds it in the user's layout).
    bool keycode(int code, bool pressed);
    bool keysym(int sym, bool pressed);

private Q_SLOTS:
    void onResponse(const QDBusMessage &message);
    void onClosed(const QDBusMessage &message);

private:
    using Next = std::function<void(quint32 code, const QVariantMap &results)>;

    // One method that answers through a Request object's Response signal.
    void createSession();
    void selectDevices(const QDBusObjectPath &session);
    void start(const QDBusObjectPath &session);
    void request(const QString &method, QVariantList arguments, QVariantMap options, Next next);
    void listen(const QString &requestPath);
    void fail(const QString &reason);
    void ready();
    bool notify(const char *method, int value, bool pressed);

    QDBusConnection connection_;
    QString restoreToken_;
    std::function<void(const QString &)> keepToken_;
    int tokens_ = 0;
    QString requestPath_;
    Next next_;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    State state_ = State::Starting;
    QDBusObjectPath session_;
};
