#pragma once

#include <QJsonValue>
#include <QObject>
#include <QTimer>
#include <optional>

class CloudClient;

// The hourly check that the sign-in is still valid. A timer on the GUI thread: a pool thread held
// for the life of the process would starve the pool.
class SessionHeartbeat : public QObject {
    Q_OBJECT
public:
    explicit SessionHeartbeat(CloudClient &client, QObject *parent = nullptr);

    static constexpr int periodMs = 60 * 60 * 1000;

    // Checks at once, then every hour; later calls change nothing.
    void start();
    void handleReply(const std::optional<QJsonValue> &reply);

Q_SIGNALS:
    // The service no longer knows this sign-in (a password change ends every session).
    void revoked();

private:
    void check();

    CloudClient &client_;
    QTimer timer_;
};
