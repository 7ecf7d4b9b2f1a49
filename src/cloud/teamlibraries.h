#pragma once

#include "model/libraryinfo.h"

#include <QList>
#include <QObject>
#include <QString>
#include <map>
#include <memory>
#include <optional>

class ClassOperations;
class ClassStore;
class CloudClient;
class LibrarySync;
class PhraseOperations;
class PhraseStore;
class TeamStore;

// The libraries of the signed-in account: its own, then each team's with the account's role there.
// Team rows live in the session's stores under the team's name; this object keeps them at the
// version the service announces, fetching only what changed since the version held, and hands out
// the operations that change a library (the service refuses an agent's; the views never offer them).
// Lives on the GUI thread.
class TeamLibraries : public QObject {
    Q_OBJECT
public:
    TeamLibraries(CloudClient &cloud, TeamStore &store, ClassStore &classes, PhraseStore &phrases,
                  PhraseOperations &ownPhrases, ClassOperations &ownClasses, QString username,
                  QObject *parent = nullptr);
    ~TeamLibraries() override;

    // The personal library, then the team libraries in the service's order.
    QList<LibraryInfo> libraries() const;
    const QString &username() const { return username_; }
    bool isTeam(const QString &dbname) const { return teams_.count(dbname) > 0; }
    // The personal library and the libraries where the account is owner or editor.
    bool canEdit(const QString &dbname) const;
    // The one line the views show where a change is not offered.
    static QString readOnlyReason();

    // The operations on that library; the personal library's for a name that is not a team's.
    PhraseOperations &phraseOperations(const QString &dbname);
    ClassOperations &classOperations(const QString &dbname);
    // The team's version held locally (0 when nothing is).
    qint64 heldVersion(const QString &dbname) const;

    // Reads the list of libraries again; a team left behind loses its rows here.
    void refresh();
    // The service says the library is at this version: what is missing is fetched.
    void announce(const QString &dbname, qint64 version);

Q_SIGNALS:
    // A team came or went, or a role changed.
    void librariesChanged();
    // A team library's rows (and its pictures) reached this version.
    void libraryUpdated(const QString &dbname, qint64 version);

private:
    struct Team;
    Team &addTeam(const LibraryInfo &info, qint64 held);
    void catchUp(Team &team);

    CloudClient &cloud_;
    TeamStore &store_;
    ClassStore &classes_;
    PhraseStore &phrases_;
    PhraseOperations &ownPhrases_;
    ClassOperations &ownClasses_;
    QString username_;
    QList<QString> order_;
    std::map<QString, std::unique_ptr<Team>> teams_;
};
