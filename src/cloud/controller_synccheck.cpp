#include "cloud/controller_synccheck.h"

#include "cloud/api_base.h"
#include "cloud/api_user.h"

#include <QCoreApplication>
#include <QTimer>
#include <iostream>

void controller_synccheck::start() {
    if (isRun)
        return;
    isRun = true;
    auto *timer = new QTimer(QCoreApplication::instance());
    timer->setInterval(periodMs);
    QObject::connect(timer, &QTimer::timeout, timer, []() { api_user::SyncCheck(&handleReply); });
    timer->start();
    api_user::SyncCheck(&handleReply);
}

void controller_synccheck::handleReply(const std::optional<QJsonValue> &reply) {
    if (!reply)
        return; // no network: the next check comes an hour later
    const int state = (*reply)[QLatin1String("state")].toInt();
    if (state == -1)
        api_base::endProgram();
    std::cout << "心跳结果 state = " << state << std::endl;
}
