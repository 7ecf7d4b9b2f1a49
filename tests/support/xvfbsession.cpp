#include "xvfbsession.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>
#include <unistd.h>

XvfbSession::~XvfbSession() {
    stop();
}

bool XvfbSession::start(bool withWindowManager) {
    // Look for a free display number; the lock file tells which are taken.
    for (int n = 50 + int(getpid() % 400); n < 1000; ++n) {
        if (QFile::exists(QStringLiteral("/tmp/.X%1-lock").arg(n)) ||
            QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(n)))
            continue;
        const QString display = QStringLiteral(":%1").arg(n);
        xvfb_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        xvfb_.start(QStringLiteral("Xvfb"),
                    {display, QStringLiteral("-screen"), QStringLiteral("0"), QStringLiteral("1280x800x24"),
                     QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-noreset")});
        if (!xvfb_.waitForStarted(5000))
            return false;
        QDeadlineTimer deadline(10000);
        while (!deadline.hasExpired() && xvfb_.state() == QProcess::Running &&
               !QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(n)))
            QThread::msleep(20);
        if (xvfb_.state() != QProcess::Running)
            continue; // lost a race for this number
        display_ = display;
        break;
    }
    if (display_.isEmpty())
        return false;
    qputenv("DISPLAY", display_.toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("WAYLAND_DISPLAY");
    if (withWindowManager) {
        wm_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        wm_.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
        if (!wm_.waitForStarted(5000))
            return false;
        QThread::msleep(300); // let openbox take the root window before clients map
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
}
