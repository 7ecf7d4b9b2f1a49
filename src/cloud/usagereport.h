#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

class CloudClient;
class TeamStore;

// Sends from team phrases: counted in the session's database at once (so a quit loses none) and
// reported to the service in batches, one at a time. A batch keeps the id it was made with until the
// service accepts it, so one lost on the way is sent again and still counted once. Lives on the GUI
// thread.
class UsageReport : public QObject {
    Q_OBJECT
public:
    UsageReport(CloudClient &cloud, TeamStore &store, QObject *parent = nullptr);

    // Reports now and then every intervalMs.
    void start(int intervalMs = defaultIntervalMs);
    // One more send of that phrase of a team library.
    void count(const QString &dbname, const QString &sign);
    // Reports what is waiting, batch after batch, until the service fails or nothing is left.
    void report();

    static constexpr int defaultIntervalMs = 60000;

Q_SIGNALS:
    // The service took a batch.
    void reported(const QString &batch);

private:
    CloudClient &cloud_;
    TeamStore &store_;
    QTimer timer_;
    bool reporting_ = false;
};
