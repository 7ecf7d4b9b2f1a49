#include "cloud/teamlibraries.h"

#include "cloud/classoperations.h"
#include "cloud/cloudclient.h"
#include "cloud/librarysync.h"
#include "cloud/phraseoperations.h"
#include "model/logging.h"
#include "store/classstore.h"
#include "store/phrasestore.h"
#include "store/teamstore.h"

#include <QPointer>
#include <QSet>

struct TeamLibraries::Team {
    LibraryInfo info;
    qint64 held = 0;
    qint64 wanted = 0; // the newest version announced
    bool fetching = false;
    std::unique_ptr<PhraseOperations> phrases;
    std::unique_ptr<ClassOperations> classes;
    std::unique_ptr<LibrarySync> sync;
};

namespace {

// Classes as the strip shows them: ids are local and differ after every write.
bool sameClasses(const QList<PhraseClass> &a, const QList<PhraseClass> &b) {
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i)
        if (a[i].sign != b[i].sign || a[i].label != b[i].label || a[i].position != b[i].position)
            return false;
    return true;
}

QList<PhraseClass> inOrder(QList<PhraseClass> classes) {
    std::stable_sort(classes.begin(), classes.end(),
                     [](const PhraseClass &a, const PhraseClass &b) { return a.position < b.position; });
    return classes;
}

} // namespace

TeamLibraries::TeamLibraries(CloudClient &cloud, TeamStore &store, ClassStore &classes, PhraseStore &phrases,
                             PhraseOperations &ownPhrases, ClassOperations &ownClasses, QString username,
                             QObject *parent)
    : QObject(parent), cloud_(cloud), store_(store), classes_(classes), phrases_(phrases),
      ownPhrases_(ownPhrases), ownClasses_(ownClasses), username_(std::move(username)) {
    // What was held at the last session shows at once, before the service answers.
    for (const LibraryInfo &info : store_.libraries())
        addTeam(info, info.version);
}

TeamLibraries::~TeamLibraries() = default;

TeamLibraries::Team &TeamLibraries::addTeam(const LibraryInfo &info, qint64 held) {
    auto team = std::make_unique<Team>();
    team->info = info;
    team->held = held;
    team->wanted = held;
    team->phrases = std::make_unique<PhraseOperations>(phrases_, cloud_, info.dbname);
    team->classes = std::make_unique<ClassOperations>(classes_, cloud_, info.dbname);
    team->sync = std::make_unique<LibrarySync>(cloud_, classes_, phrases_, info.dbname);
    Team &added = *team;
    order_.append(info.dbname);
    teams_[info.dbname] = std::move(team);
    return added;
}

QList<LibraryInfo> TeamLibraries::libraries() const {
    QList<LibraryInfo> all{LibraryInfo{username_, false, QStringLiteral("owner"), 0}};
    for (const QString &dbname : order_)
        all.append(teams_.at(dbname)->info);
    return all;
}

bool TeamLibraries::canEdit(const QString &dbname) const {
    const auto it = teams_.find(dbname);
    return it == teams_.end() || it->second->info.canEdit();
}

QString TeamLibraries::readOnlyReason() {
    return QString::fromUtf8("团队词库只读：你在该团队的角色是客服，只能发送，不能修改");
}

PhraseOperations &TeamLibraries::phraseOperations(const QString &dbname) {
    const auto it = teams_.find(dbname);
    return it == teams_.end() ? ownPhrases_ : *it->second->phrases;
}

ClassOperations &TeamLibraries::classOperations(const QString &dbname) {
    const auto it = teams_.find(dbname);
    return it == teams_.end() ? ownClasses_ : *it->second->classes;
}

qint64 TeamLibraries::heldVersion(const QString &dbname) const {
    const auto it = teams_.find(dbname);
    return it == teams_.end() ? 0 : it->second->held;
}

void TeamLibraries::refresh() {
    QPointer<TeamLibraries> self(this);
    cloud_.fetchLibraries([self](const Result<QList<LibraryInfo>> &r) {
        if (!self)
            return;
        if (!r) {
            qCWarning(lcCloud, "reading the list of libraries failed: %s", qUtf8Printable(r.error()));
            return;
        }
        QList<LibraryInfo> teams;
        for (const LibraryInfo &info : r.value())
            if (info.team && info.dbname != self->username_)
                teams.append(info);
        const QList<LibraryInfo> before = self->libraries();

        QSet<QString> listed;
        for (const LibraryInfo &info : teams)
            listed.insert(info.dbname);
        for (const QString &dbname : QList<QString>(self->order_)) {
            if (listed.contains(dbname))
                continue;
            // No longer a member: what was held of the team goes with it.
            qCInfo(lcCloud, "no longer a member of %s: its rows are removed", qUtf8Printable(dbname));
            self->teams_.erase(dbname);
            self->order_.removeAll(dbname);
            self->phrases_.deleteAll(dbname);
            self->classes_.deleteAll(dbname);
            self->store_.forgetRows(dbname);
        }
        self->store_.setLibraries(teams);
        QList<QString> order;
        for (const LibraryInfo &info : teams) {
            order.append(info.dbname);
            const auto it = self->teams_.find(info.dbname);
            Team &team = it == self->teams_.end() ? self->addTeam(info, 0) : *it->second;
            team.info.role = info.role;
            team.info.version = info.version;
        }
        self->order_ = order;
        if (self->libraries() != before)
            Q_EMIT self->librariesChanged();
        for (const LibraryInfo &info : teams)
            self->announce(info.dbname, info.version);
    });
}

void TeamLibraries::announce(const QString &dbname, qint64 version) {
    const auto it = teams_.find(dbname);
    if (it == teams_.end())
        return; // the personal library, or a team not listed yet (its list follows)
    Team &team = *it->second;
    team.wanted = qMax(team.wanted, version);
    if (team.wanted > team.held || team.held == 0)
        catchUp(team);
}

void TeamLibraries::catchUp(Team &team) {
    if (team.fetching)
        return; // the reply under way looks again at what was announced meanwhile
    team.fetching = true;
    const QString dbname = team.info.dbname;
    QPointer<TeamLibraries> self(this);
    cloud_.fetchChanges(dbname, team.held, [self, dbname](const Result<CloudClient::Changes> &r) {
        if (!self)
            return;
        const auto it = self->teams_.find(dbname);
        if (it == self->teams_.end())
            return; // left the team meanwhile
        Team &team = *it->second;
        team.fetching = false;
        if (!r) {
            qCWarning(lcCloud, "reading the changes of %s failed: %s", qUtf8Printable(dbname),
                      qUtf8Printable(r.error()));
            return; // the next announcement or reconnection tries again
        }
        const CloudClient::Changes &changes = r.value();
        const QList<PhraseClass> classes = inOrder(changes.classes);
        if (!sameClasses(classes, self->classes_.getAll(dbname)))
            self->classes_.replaceAll(dbname, classes);
        QStringList deleted = changes.deleted;
        if (changes.full) {
            QSet<QString> listed;
            for (const Phrase &phrase : changes.phrases)
                listed.insert(phrase.sign);
            for (const QString &sign : self->phrases_.allSigns(dbname))
                if (!listed.contains(sign))
                    deleted.append(sign);
        }
        if (!changes.phrases.isEmpty() || !deleted.isEmpty())
            self->phrases_.applyChanges(dbname, changes.phrases, deleted);
        team.held = changes.version;
        team.wanted = qMax(team.wanted, changes.version);
        self->store_.setVersion(dbname, changes.version);
        qCInfo(lcCloud, "team library %s at version %lld", qUtf8Printable(dbname),
               qlonglong(changes.version));
        const qint64 version = changes.version;
        team.sync->downloadMissingPictures([self, dbname, version] {
            if (self)
                Q_EMIT self->libraryUpdated(dbname, version);
        });
        if (team.wanted > team.held)
            self->catchUp(team);
    });
}
