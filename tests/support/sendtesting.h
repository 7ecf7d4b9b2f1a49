#pragma once

#include <QString>
#include <QStringList>

// What the send tests ask again and again: what a paste target logged, and where sends go now.
class SendTesting {
public:
    SendTesting() = delete;

    // The lines a paste target (tests/support/pastetarget) logged so far; none before it starts.
    static QStringList logLines(const QString &path);
    // The app id of the window sends go to now; empty when there is none.
    static QString targetAppId();
};
