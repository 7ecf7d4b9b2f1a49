#pragma once

#include "model/libraryinfo.h"

#include <QList>
#include <QString>
#include <optional>

class LocalStore;

// What the session keeps of its team libraries beside their rows (which sit in the phrase and class
// tables under the team's name): each library's role and the version its rows are at, and the sends
// from team phrases not yet reported. Tables of their own, so the personal library's stay as they
// are.
class TeamStore {
public:
    // account: the signed-in account; several may use one computer, each with its own teams.
    TeamStore(LocalStore &store, QString account);

    // The team libraries as last listed, in the service's order, with the versions held.
    QList<LibraryInfo> libraries();
    // Takes this list (roles, order) and keeps the held version of each library still in it.
    bool setLibraries(const QList<LibraryInfo> &teams);
    qint64 version(const QString &dbname);
    bool setVersion(const QString &dbname, qint64 version);
    // The team's rows were removed: no account holds any version of it any more.
    bool forgetRows(const QString &dbname);

    // One more send of that phrase, kept until it is in a batch.
    bool addSend(const QString &dbname, const QString &sign);

    struct Batch {
        QString id;
        QString dbname;
        QString counts; // JSON text: {"<sign>": sends, ...}
    };
    // A batch not yet accepted by the service, oldest first; else one made now from the counted sends
    // of one library (they leave the counts in the same transaction, so a send is in one batch only).
    std::optional<Batch> nextBatch();
    bool removeBatch(const QString &id);
    // The service refused the batch. A refusal can be passing (its storage failed), so the batch
    // stays until it has been refused maxRefusals times (the account left the team). True when it
    // was dropped.
    bool refuseBatch(const QString &id);
    static constexpr int maxRefusals = 5;

private:
    void createTables();

    LocalStore &store_;
    QString account_;
};
