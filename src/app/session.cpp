#include "app/session.h"

#include "cloud/librarysync.h"
#include "cloud/sessionheartbeat.h"
#include "desktop/desktopbackend.h"
#include "desktop/desktopsession.h"
#include "library/homeview.h"
#include "library/librarypanel.h"
#include "library/phraselist.h"
#include "model/app.h"
#include "quickbar/quickbar.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"

#include <QLineEdit>

Session::Session(const QString &username, QObject *parent)
    : QObject(parent), username_(username), desktop_(DesktopSession::createBackend()),
      tracker_(std::make_unique<TargetWindowTracker>(*desktop_)),
      sender_(std::make_unique<PhraseSender>(*desktop_, *tracker_)) {
    App::userInfo().username = username;
}

Session::~Session() {
    // The lists it fed may outlive the session (the window keeps its content until it closes).
    if (syncListener_ && LibrarySync::listener == syncListener_)
        LibrarySync::listener = nullptr;
}

void Session::start(HomeView &home) {
    if (started_)
        return;
    started_ = true;

    // Its slots stand for the phrase list of the home view, looked up at each gesture.
    quickBar_ = std::make_unique<QuickBar>(*sender_);
    QPointer<PhraseList> list = home.phraseList();
    quickBar_->setListSource([list](int row) { return list ? list->phraseAt(row) : std::nullopt; },
                             [list](int row) {
                                 if (list)
                                     list->selectRow(row);
                             });
    quickBar_->setHomeWindow(home.window());
    quickBar_->setSearchField(home.searchField());
    quickBar_->applyShortcutSetting();

    syncListener_ = home.libraryPanel;
    LibrarySync::listener = syncListener_;
    LibrarySync::cloudAll([] {});
    tracker_->start();
    home.followTarget(*tracker_, *desktop_);
    home.sendThrough(*sender_);
    SessionHeartbeat::start();
    Q_EMIT started();
}

bool Session::stopSending() {
    return sender_->stop();
}

void Session::toggleQuickBar() {
    if (!quickBar_)
        return;
    if (quickBar_->isVisible())
        quickBar_->hide();
    else
        quickBar_->present();
}
