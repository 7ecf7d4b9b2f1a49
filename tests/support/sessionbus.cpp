#include "sessionbus.h"

SessionBus::~SessionBus() {
    if (daemon_.state() != QProcess::NotRunning) {
        daemon_.terminate();
        daemon_.waitForFinished(3000);
    }
}

namespace {

// A session bus that starts no services of its own: a name nobody in the test owns stays unowned,
// instead of starting whatever the machine has installed under it.
constexpr char configText[] =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

} // namespace

bool SessionBus::start() {
    if (!config_.open() || config_.write(configText) != qint64(sizeof(configText) - 1) || !config_.flush())
        return false;
    daemon_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    daemon_.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--config-file=") + config_.fileName(), QStringLiteral("--nofork"),
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
