#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

class DesktopBackend;
class HomeView;
class LibrarySyncListener;
class PhraseSender;
class QuickBar;
class TargetWindowTracker;

// Everything that lives while one user is signed in: the library, its synchronisation, the
// heartbeat, the desktop back-end, the window tracker, the sender and the quick bar. The application object
// makes one at sign-in and destroys it at sign-out or quit; nothing here outlives it.
class Session : public QObject {
    Q_OBJECT
public:
    explicit Session(const QString &username, QObject *parent = nullptr);
    ~Session() override;

    const QString &username() const { return username_; }
    QuickBar *quickBar() const { return quickBar_.get(); }
    DesktopBackend &desktop() const { return *desktop_; }
    TargetWindowTracker &tracker() const { return *tracker_; }
    PhraseSender &sender() const { return *sender_; }

    // Starts the services of the signed-in user for the home view that shows them: the quick bar
    // over its phrase list, the synchronisation into its lists, the target tracker, the heartbeat.
    void start(HomeView &home);
    bool isStarted() const { return started_; }

    // Shows the quick bar when hidden, hides it when shown.
    void toggleQuickBar();
    // Stops a send in progress, waiting a moment for it. False when it is stuck inside the
    // desktop: then the session must not be destroyed before the process ends.
    bool stopSending();

Q_SIGNALS:
    // Every service has been started.
    void started();
    // The program has to end (a revoked sign-in, a library the service refuses to give).
    void endRequested(int status, const QString &message);

private:
    QString username_;
    // Declared in the order they depend on each other: destroyed the other way round.
    std::unique_ptr<DesktopBackend> desktop_;
    std::unique_ptr<TargetWindowTracker> tracker_;
    std::unique_ptr<PhraseSender> sender_;
    std::unique_ptr<QuickBar> quickBar_;
    LibrarySyncListener *syncListener_ = nullptr;
    bool started_ = false;
};
