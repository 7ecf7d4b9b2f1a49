#pragma once

#include <QJsonValue>
#include <optional>

// The hourly check that the sign-in is still valid; a revoked sign-in ends the process with status 1.
// A timer on the GUI thread: a pool thread held for the life of the process would starve the pool.
class SessionHeartbeat {
public:
    SessionHeartbeat() = delete;

    static inline bool isRun = false;
    static constexpr int periodMs = 60 * 60 * 1000;

    // Checks at once, then every hour; only the first call has an effect. Call on the GUI thread.
    static void start();
    static void handleReply(const std::optional<QJsonValue> &reply);
};
