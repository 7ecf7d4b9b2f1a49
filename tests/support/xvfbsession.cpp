#include "xvfbsession.h"

#include <QDeadlineTimer>
#include <QThread>

XvfbSession::~XvfbSession() {
    stop();
}

bool XvfbSession::start(bool withWindowManager) {
    // Xvfb picks a free display itself and writes its number on standard output, so two tests
    // starting at the same moment never share one.
    xvfb_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    xvfb_.setReadChannel(QProcess::StandardOutput);
    xvfb_.start(QStringLiteral("Xvfb"),
                {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                 QStringLiteral("0"), QStringLiteral("1280x800x24"), QStringLiteral("-nolisten"),
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
