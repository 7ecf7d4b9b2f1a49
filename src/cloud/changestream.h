#pragma once

#include "cloud/eventstreamparser.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

class CloudClient;
class QNetworkReply;

// The service's change stream of the signed-in account, kept open from start() to stop(). After a
// network fault, a service restart or the service closing it (a role changed) it opens again after
// a back-off that grows to maxBackoffMs; the service then names every library's version anew, which
// is how a client that missed changes catches up. Lives on the GUI thread.
class ChangeStream : public QObject {
    Q_OBJECT
public:
    explicit ChangeStream(CloudClient &cloud, QObject *parent = nullptr);
    ~ChangeStream() override;

    void start();
    void stop();
    bool isOpen() const { return open_; }
    // The wait before the next attempt after n failed ones in a row (n >= 1), without the jitter.
    static int backoffMs(int failures);

    static constexpr int firstBackoffMs = 1000;
    static constexpr int maxBackoffMs = 30000;
    // The service pings every 20 s: this long without a byte means the link is dead.
    static constexpr int silenceMs = 50000;

Q_SIGNALS:
    // The stream is open (again).
    void opened();
    void closed();
    // A library is now at this version.
    void versionAnnounced(const QString &dbname, qint64 version);
    // The account's set of libraries or a role in one changed.
    void librariesChanged();

private:
    void connectNow();
    void readEvents();
    void finished();
    void retryIn(int ms);

    CloudClient &cloud_;
    QPointer<QNetworkReply> reply_;
    EventStreamParser parser_;
    QTimer retry_;
    QTimer silence_;
    bool running_ = false;
    bool open_ = false;
    int failures_ = 0;
};
