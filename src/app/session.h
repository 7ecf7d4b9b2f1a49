#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

class HomeView;
class LibrarySyncListener;
class QuickBar;

// Everything that lives while one user is signed in: the library, its synchronisation, the
// heartbeat, the window tracker and the quick bar. The application object makes one at sign-in and
// destroys it at sign-out or quit; nothing here outlives it.
class Session : public QObject {
    Q_OBJECT
public:
    explicit Session(const QString &username, QObject *parent = nullptr);
    ~Session() override;

    const QString &username() const { return username_; }
    QuickBar *quickBar() const { return quickBar_.get(); }

    // Starts the services of the signed-in user for the home view that shows them: the quick bar
    // over its phrase list, the synchronisation into its lists, the target tracker, the heartbeat.
    void start(HomeView &home);
    bool isStarted() const { return started_; }

    // Shows the quick bar when hidden, hides it when shown.
    void toggleQuickBar();

Q_SIGNALS:
    // Every service has been started.
    void started();
    // The program has to end (a revoked sign-in, a library the service refuses to give).
    void endRequested(int status, const QString &message);

private:
    QString username_;
    std::unique_ptr<QuickBar> quickBar_;
    LibrarySyncListener *syncListener_ = nullptr;
    bool started_ = false;
};
