#include "xvfbsession.h"

#include <QDeadlineTimer>
#include <QThread>

namespace {

// Whether a window manager has taken the display (it names its check window on the root).
bool managerRunning() {
    QProcess xprop;
    xprop.start(QStringLiteral("xprop"),
                {QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK")});
    if (!xprop.waitForFinished(5000))
        return false;
    return xprop.readAllStandardOutput().contains("window id");
}

} // namespace

XvfbSession::~XvfbSession() {
    stop();
}

bool XvfbSession::start(bool withWindowManager) {
    // Xvfb picks a free display itself and writes its number on standard output, so two tests
    // starting at the same moment never share one.
    xvfb_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    xvfb_.setReadChannel(QProcess::StandardOutput);
    const QString screen = qEnvironmentVariable("QUILLORA_TEST_SCREEN", QStringLiteral("1280x800"));
    xvfb_.start(QStringLiteral("Xvfb"),
                {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                 QStringLiteral("0"), screen + QStringLiteral("x24"), QStringLiteral("-nolisten"),
                 QStringLiteral("tcp"), QStringLiteral("-noreset")});
    if (!xvfb_.waitForStarted(5000))
        return false;
    QByteArray number;
    QDeadlineTimer deadline(20000);
    while (!number.endsWith('\n') && !deadline.hasExpired() && xvfb_.state() == QProcess::Running) {
        xvfb_.waitForReadyRead(200);
        number += xvfb_.readAllStandardOutput();
    }
    if (number.trimmed().isEmpty())
        return false;
    display_ = QStringLiteral(":") + QString::fromLatin1(number.trimmed());
    qputenv("DISPLAY", display_.toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("WAYLAND_DISPLAY");
    if (!withWindowManager)
        return true;
    windowManager_ = qEnvironmentVariable("QUILLORA_TEST_WM", QStringLiteral("openbox"));
    QStringList arguments;
    if (windowManager_ == QLatin1String("openbox")) {
        arguments = {QStringLiteral("--sm-disable")};
    } else if (windowManager_ == QLatin1String("xfwm4")) {
        arguments = {QStringLiteral("--compositor=off"), QStringLiteral("--sm-client-disable")};
    } else if (windowManager_ == QLatin1String("mutter")) {
        arguments = {QStringLiteral("--x11"), QStringLiteral("--replace"), QStringLiteral("--sm-disable")};
    } else {
        qWarning("unknown window manager %s", qPrintable(windowManager_));
        return false;
    }
    // Both want a session bus, and must not reach the desktop's own.
    if (windowManager_ != QLatin1String("openbox")) {
        bus_ = std::make_unique<SessionBus>();
        if (!bus_->start())
            return false;
    }
    wm_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    if (windowManager_ != QLatin1String("openbox"))
        wm_.setStandardErrorFile(QProcess::nullDevice());
    wm_.start(windowManager_, arguments);
    if (!wm_.waitForStarted(5000))
        return false;
    // Clients mapped before the manager has taken the root window would stay unmanaged.
    deadline = QDeadlineTimer(20000);
    while (!managerRunning()) {
        if (deadline.hasExpired() || wm_.state() != QProcess::Running)
            return false;
        QThread::msleep(50);
    }
    return true;
}

void XvfbSession::stop() {
    for (QProcess *p : {&wm_, &xvfb_}) {
        if (p->state() == QProcess::NotRunning)
            continue;
        p->terminate();
        if (!p->waitForFinished(3000)) {
            p->kill();
            p->waitForFinished(1000);
        }
    }
    bus_.reset();
}
