#include "sendtesting.h"

#include "eventloopwait.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "store/localpath.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QImage>

QStringList SendTesting::logLines(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString SendTesting::targetAppId() {
    const auto target = TargetWindowTracker::lastTarget();
    return target && target->bundleIdentifier ? *target->bundleIdentifier : QString();
}

QByteArray SendTesting::writePicture(const QString &name, QSize size, QColor color) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    QByteArray png;
    QBuffer buffer(&png);
    QFile file(LocalPath::imageDir() + QLatin1Char('/') + name);
    if (!image.save(&buffer, "PNG") || !file.open(QIODevice::WriteOnly) || file.write(png) != png.size())
        return {};
    return png;
}

bool SendTesting::sendAndSettle(const QString &json, bool isEnter) {
    PhraseSender::send(json, isEnter);
    return settle();
}

bool SendTesting::settle() {
    constexpr int timeoutMs = 20000;
    if (!EventLoopWait::until([] { return !PhraseSender::runs(); }, timeoutMs))
        return false;
    bool typed = false;
    QMetaObject::invokeMethod(
        qApp, [&typed] { typed = true; }, Qt::QueuedConnection);
    return EventLoopWait::until([&typed] { return typed; }, timeoutMs);
}
