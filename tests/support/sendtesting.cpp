#include "sendtesting.h"

#include "send/targetwindowtracker.h"

#include <QFile>

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
