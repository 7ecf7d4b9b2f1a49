#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryFile>

// A private D-Bus session bus (dbus-daemon, without service activation) for this process and the programs it
// starts: sets DBUS_SESSION_BUS_ADDRESS. Start it before the application object and before any bus use.
class SessionBus {
public:
    SessionBus() = default;
    ~SessionBus();

    bool start();
    QString address() const { return address_; }

private:
    QTemporaryFile config_;
    QProcess daemon_;
    QString address_;
};
