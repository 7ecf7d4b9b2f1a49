#include "sessionbus.h"

SessionBus::~SessionBus() {
    if (daemon_.state() != QProcess::NotRunning) {
        daemon_.terminate();
        daemon_.waitForFinished(3000);
    }
}

bool SessionBus::start() {
    daemon_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    daemon_.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                  QStringLiteral("--print-address=1")});
    if (!daemon_.waitForStarted(10000))
        return false;
    while (!daemon_.canReadLine())
        if (!daemon_.waitForReadyRead(10000))
            return false;
    address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address_.toUtf8());
    return !address_.isEmpty();
}
