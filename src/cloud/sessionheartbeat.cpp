#include "cloud/sessionheartbeat.h"

#include "cloud/cloudclient.h"
#include "model/logging.h"

#include <QPointer>

SessionHeartbeat::SessionHeartbeat(CloudClient &client, QObject *parent) : QObject(parent), client_(client) {
    timer_.setInterval(periodMs);
    connect(&timer_, &QTimer::timeout, this, &SessionHeartbeat::check);
}

void SessionHeartbeat::start() {
    if (timer_.isActive())
        return;
    timer_.start();
    check();
}

void SessionHeartbeat::check() {
    QPointer<SessionHeartbeat> self(this);
    client_.checkSession([self](const std::optional<QJsonValue> &reply) {
        if (self)
            self->handleReply(reply);
    });
}

void SessionHeartbeat::handleReply(const std::optional<QJsonValue> &reply) {
    if (!reply)
        return; // no network: the next check comes an hour later
    const int state = (*reply)[QLatin1String("state")].toInt();
    qCInfo(lcCloud, "心跳结果 state = %d", state);
    if (state == -1)
        Q_EMIT revoked();
}
