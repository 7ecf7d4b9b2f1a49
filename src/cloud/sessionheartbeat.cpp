#include "cloud/sessionheartbeat.h"

#include "cloud/accountapi.h"
#include "cloud/serviceapi.h"

#include <QCoreApplication>
#include <QTimer>
#include <iostream>

void SessionHeartbeat::start() {
    if (isRun)
        return;
    isRun = true;
    auto *timer = new QTimer(QCoreApplication::instance());
    timer->setInterval(periodMs);
    QObject::connect(timer, &QTimer::timeout, timer, []() { AccountApi::SyncCheck(&handleReply); });
    timer->start();
    AccountApi::SyncCheck(&handleReply);
}

void SessionHeartbeat::handleReply(const std::optional<QJsonValue> &reply) {
    if (!reply)
        return; // no network: the next check comes an hour later
    const int state = (*reply)[QLatin1String("state")].toInt();
    if (state == -1)
        ServiceApi::endProgram();
    std::cout << "心跳结果 state = " << state << std::endl;
}
