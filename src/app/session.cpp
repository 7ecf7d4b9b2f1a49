#include "app/session.h"

#include "cloud/changestream.h"
#include "cloud/classoperations.h"
#include "cloud/cloudclient.h"
#include "cloud/librarysync.h"
#include "cloud/phraseoperations.h"
#include "cloud/sessionheartbeat.h"
#include "cloud/teamlibraries.h"
#include "cloud/usagereport.h"
#include "desktop/desktopbackend.h"
#include "desktop/desktopsession.h"
#include "library/homeview.h"
#include "library/librarypanel.h"
#include "library/phraselist.h"
#include "library/phrasepalette.h"
#include "library/searchresultlist.h"
#include "model/settings.h"
#include "quickbar/quickbar.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "store/classstore.h"
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"
#include "store/teamstore.h"

#include <QGuiApplication>
#include <QLineEdit>

namespace {

Result<void> openStore(LocalStore &store) {
    LocalPath::initDirs();
    return store.open();
}

} // namespace

Session::Session(Settings &settings, CloudClient &cloud, const QString &username, QObject *parent)
    : QObject(parent), settings_(settings), cloud_(cloud), username_(username),
      store_(std::make_unique<LocalStore>()), storeOpened_(openStore(*store_)),
      phrases_(std::make_unique<PhraseStore>(*store_)), classes_(std::make_unique<ClassStore>(*store_)),
      phraseOperations_(std::make_unique<PhraseOperations>(*phrases_, cloud_, username_)),
      classOperations_(std::make_unique<ClassOperations>(*classes_, cloud_, username_)),
      sync_(std::make_unique<LibrarySync>(cloud_, *classes_, *phrases_, username_)),
      heartbeat_(std::make_unique<SessionHeartbeat>(cloud_)),
      teamStore_(std::make_unique<TeamStore>(*store_, username_)),
      teams_(std::make_unique<TeamLibraries>(cloud_, *teamStore_, *classes_, *phrases_, *phraseOperations_,
                                             *classOperations_, username_)),
      stream_(std::make_unique<ChangeStream>(cloud_)),
      usage_(std::make_unique<UsageReport>(cloud_, *teamStore_)),
      library_(std::make_unique<LibraryContext>(LibraryContext{
          *phrases_, *classes_, *phraseOperations_, *classOperations_, *sync_, *teams_, username_})),
      desktop_(DesktopSession::createBackend(settings_)),
      tracker_(std::make_unique<TargetWindowTracker>(*desktop_)),
      sender_(std::make_unique<PhraseSender>(settings_, *desktop_, *tracker_)) {
    cloud_.setUsername(username_);
    connect(heartbeat_.get(), &SessionHeartbeat::revoked, this,
            [this] { Q_EMIT endRequested(1, QString()); });
    connect(sync_.get(), &LibrarySync::libraryRefused, this,
            [this](const QString &message) { Q_EMIT endRequested(1, message); });
    // Each opening of the stream reads the list again: a role may have changed while it was closed.
    connect(stream_.get(), &ChangeStream::opened, teams_.get(), &TeamLibraries::refresh);
    connect(stream_.get(), &ChangeStream::librariesChanged, teams_.get(), &TeamLibraries::refresh);
    connect(stream_.get(), &ChangeStream::versionAnnounced, teams_.get(), &TeamLibraries::announce);
}

Session::~Session() = default;

void Session::start(HomeView &home) {
    if (started_)
        return;
    started_ = true;

    // Its slots stand for the phrase list of the home view, looked up at each gesture.
    quickBar_ = std::make_unique<QuickBar>(settings_, *sender_);
    QPointer<PhraseList> list = home.phraseList();
    quickBar_->setListSource([list](int row) { return list ? list->phraseAt(row) : std::nullopt; },
                             [list](int row) {
                                 if (list)
                                     list->selectRow(row);
                             });
    quickBar_->setBadgeSource([&teams = *teams_](const Phrase &phrase) {
        return teams.isTeam(phrase.username) ? phrase.username : QString();
    });
    quickBar_->setHomeWindow(home.window());
    quickBar_->setSearchField(home.searchField());
    quickBar_->applyShortcutSetting();

    connect(home.libraryPanel->phraseList, &PhraseList::sendRequested, this, &Session::countSend);
    connect(home.searchResults, &SearchResultList::sendRequested, this, &Session::countSend);
    connect(quickBar_.get(), &QuickBar::tapped, this, [this, list](int row) {
        if (const std::optional<Phrase> phrase = list ? list->phraseAt(row) : std::nullopt)
            countSend(*phrase);
    });
    // Made now, so that opening it later costs only showing it.
    palette_ = std::make_unique<PhrasePalette>(*phrases_, username_);
    palette_->sendThrough(*sender_, *tracker_, *desktop_);
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        palette_->setShortcut(settings_.paletteShortcut());

    sync_->syncAll();
    stream_->start();
    usage_->start();
    tracker_->start();
    home.followTarget(*tracker_, *desktop_);
    home.sendThrough(*sender_);
    heartbeat_->start();
    Q_EMIT started();
}

void Session::countSend(const Phrase &phrase) {
    if (teams_->isTeam(phrase.username))
        usage_->count(phrase.username, phrase.sign);
}

bool Session::stopSending() {
    return sender_->stop();
}

void Session::showPalette() {
    if (palette_)
        palette_->present();
}

void Session::toggleQuickBar() {
    if (!quickBar_)
        return;
    if (quickBar_->isVisible())
        quickBar_->hide();
    else
        quickBar_->present();
}
