#pragma once

#include "library/librarycontext.h"
#include "model/result.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

class ChangeStream;
class ClassOperations;
class ClassStore;
class CloudClient;
class HomeView;
class LibrarySync;
class LocalStore;
class PhraseOperations;
class PhrasePalette;
class PhraseStore;
class QuickBar;
class SessionHeartbeat;
class Settings;
class TeamLibraries;
class TeamStore;
class UsageReport;
struct Phrase;

class DesktopBackend;
class PhraseSender;
class TargetWindowTracker;

// Everything that lives while one user is signed in: the database and its stores, the operations
// that change the library, its synchronisation, the team libraries with their change stream and
// usage report, the heartbeat, the desktop back-end, the window tracker, the sender, the quick bar
// and the keyboard palette. The application object makes one at sign-in and destroys it at
// sign-out or quit; nothing here outlives it, and every part gets what it needs from here
// through its constructor.
class Session : public QObject {
    Q_OBJECT
public:
    // The settings and the client come from the application object, which signed the user in with
    // them; they outlive the session.
    Session(Settings &settings, CloudClient &cloud, const QString &username, QObject *parent = nullptr);
    ~Session() override;

    const QString &username() const { return username_; }
    // How opening the database went; without it the stores answer empty.
    const Result<void> &storeOpened() const { return storeOpened_; }
    PhraseStore &phraseStore() { return *phrases_; }
    ClassStore &classStore() { return *classes_; }
    LibrarySync &librarySync() { return *sync_; }
    LibraryContext &library() { return *library_; }
    TeamLibraries &teams() { return *teams_; }
    ChangeStream &changeStream() { return *stream_; }
    UsageReport &usageReport() { return *usage_; }
    Settings &settings() { return settings_; }
    CloudClient &cloud() { return cloud_; }
    QuickBar *quickBar() const { return quickBar_.get(); }
    // The keyboard palette; null until the session has started.
    PhrasePalette *palette() const { return palette_.get(); }
    DesktopBackend &desktop() const { return *desktop_; }
    TargetWindowTracker &tracker() const { return *tracker_; }
    PhraseSender &sender() const { return *sender_; }

    // Starts the services of the signed-in user for the home view that shows them: the quick bar
    // over its phrase list, the synchronisation, the team libraries and their change stream, the
    // usage report, the target tracker, the heartbeat.
    void start(HomeView &home);
    bool isStarted() const { return started_; }

    // Shows the quick bar when hidden, hides it when shown.
    void toggleQuickBar();
    // Opens the keyboard palette.
    void showPalette();
    // Stops a send in progress, waiting a moment for it. False when it is stuck inside the
    // desktop: then the session must not be destroyed before the process ends.
    bool stopSending();

Q_SIGNALS:
    // Every service has been started.
    void started();
    // The program has to end (a revoked sign-in, a library the service refuses to give).
    void endRequested(int status, const QString &message);

private:
    // A send from a team phrase is counted for the team's usage.
    void countSend(const Phrase &phrase);

    Settings &settings_;
    CloudClient &cloud_;
    QString username_;
    std::unique_ptr<LocalStore> store_;
    Result<void> storeOpened_;
    std::unique_ptr<PhraseStore> phrases_;
    std::unique_ptr<ClassStore> classes_;
    std::unique_ptr<PhraseOperations> phraseOperations_;
    std::unique_ptr<ClassOperations> classOperations_;
    std::unique_ptr<LibrarySync> sync_;
    std::unique_ptr<SessionHeartbeat> heartbeat_;
    std::unique_ptr<TeamStore> teamStore_;
    std::unique_ptr<TeamLibraries> teams_;
    std::unique_ptr<ChangeStream> stream_;
    std::unique_ptr<UsageReport> usage_;
    std::unique_ptr<LibraryContext> library_;
    // Declared in the order they depend on each other: destroyed the other way round.
    std::unique_ptr<DesktopBackend> desktop_;
    std::unique_ptr<TargetWindowTracker> tracker_;
    std::unique_ptr<PhraseSender> sender_;
    std::unique_ptr<QuickBar> quickBar_;
    std::unique_ptr<PhrasePalette> palette_;
    bool started_ = false;
};
