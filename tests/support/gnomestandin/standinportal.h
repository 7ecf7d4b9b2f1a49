#pragma once

#include <QDBusContext>
#include <QDBusObjectPath>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTextStream>
#include <QVariantMap>

// The desktop portal's remote desktop interface, as xdg-desktop-portal 1.16 with GNOME's back-end
// answers it:
// - each request method returns the path of a Request object at once, named after the caller's
//   unique name (":1.42" gives "1_42") and its handle_token, and later emits Response(u, a{sv})
//   from that path: 0 with the results, 1 when the user cancelled the dialog;
// - CreateSession's results carry session_handle as a string; SelectDevices takes the device types,
//   persist_mode and a restore_token; Start shows the permission dialog unless a valid token was
//   given, and its results carry the devices and, with persist_mode 2, a new restore_token (a
//   token is used up by the start that presents it);
// - the Notify methods take effect only in a started session, into whatever has the focus.
class StandinPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.RemoteDesktop")
    Q_PROPERTY(quint32 version READ version)
    Q_PROPERTY(quint32 AvailableDeviceTypes READ availableDeviceTypes)

public:
    // refuse: the user cancels every dialog.
    StandinPortal(QTextStream &log, bool refuse) : log_(log), refuse_(refuse) {}

    quint32 version() const { return 2; }
    quint32 availableDeviceTypes() const { return 7; }

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap &options);
    QDBusObjectPath SelectDevices(const QDBusObjectPath &session, const QVariantMap &options);
    QDBusObjectPath Start(const QDBusObjectPath &session, const QString &parentWindow,
                          const QVariantMap &options);
    void NotifyKeyboardKeycode(const QDBusObjectPath &session, const QVariantMap &options, int keycode,
                               quint32 state);
    void NotifyKeyboardKeysym(const QDBusObjectPath &session, const QVariantMap &options, int keysym,
                              quint32 state);

private:
    struct Session {
        QString owner;
        quint32 persistMode = 0;
        bool restored = false;
        bool started = false;
    };

    QString requestPath(const QVariantMap &options) const;
    // After the method's own reply, as the real portal answers the dialog later.
    void respond(const QString &request, quint32 code, const QVariantMap &results);
    Session *callersSession(const QDBusObjectPath &session);
    // A key of a started session of the caller.
    void key(const QDBusObjectPath &session, bool keysym, int value, quint32 state);

    QTextStream &log_;
    QHash<QString, Session> sessions_;
    QSet<QString> validTokens_;
    int issued_ = 0;
    bool refuse_ = false;
};
