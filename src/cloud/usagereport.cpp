#include "cloud/usagereport.h"

#include "cloud/cloudclient.h"
#include "model/logging.h"
#include "store/teamstore.h"

#include <QPointer>

UsageReport::UsageReport(CloudClient &cloud, TeamStore &store, QObject *parent)
    : QObject(parent), cloud_(cloud), store_(store) {
    connect(&timer_, &QTimer::timeout, this, &UsageReport::report);
}

void UsageReport::start(int intervalMs) {
    timer_.start(intervalMs);
    report();
}

void UsageReport::count(const QString &dbname, const QString &sign) {
    if (!store_.addSend(dbname, sign))
        qCWarning(lcCloud, "a send from %s could not be counted", qUtf8Printable(dbname));
}

void UsageReport::report() {
    if (reporting_)
        return;
    const std::optional<TeamStore::Batch> batch = store_.nextBatch();
    if (!batch)
        return;
    reporting_ = true;
    QPointer<UsageReport> self(this);
    const QString id = batch->id;
    cloud_.reportUsage(batch->dbname, id, batch->counts,
                       [self, id](CloudClient::Report outcome, const QString &message) {
                           if (!self)
                               return;
                           self->reporting_ = false;
                           // A batch not accepted keeps its id: the next round sends it again, and the
                           // service counts a batch it has seen once.
                           if (outcome == CloudClient::Report::Failed) {
                               qCInfo(lcCloud, "usage batch %s not reported: %s", qUtf8Printable(id),
                                      qUtf8Printable(message));
                           } else if (outcome == CloudClient::Report::Refused) {
                               const bool dropped = self->store_.refuseBatch(id);
                               qCWarning(lcCloud, "usage batch %s refused%s: %s", qUtf8Printable(id),
                                         dropped ? " for good" : "", qUtf8Printable(message));
                           } else {
                               self->store_.removeBatch(id);
                               Q_EMIT self->reported(id);
                               self->report();
                           }
                       });
}
