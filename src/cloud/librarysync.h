#pragma once

#include <QObject>
#include <QString>
#include <functional>

class ClassStore;
class CloudClient;
class PhraseStore;

// Full synchronisation of one library into the stores: classes, then phrases, then missing
// pictures, strictly one after the other. Used from the GUI thread; every action is called there.
class LibrarySync : public QObject {
    Q_OBJECT
public:
    LibrarySync(CloudClient &cloud, ClassStore &classes, PhraseStore &phrases, QString dbname,
                QObject *parent = nullptr);

    bool isRunning() const { return running_; }

    // While one runs, a new call only calls its own action at once.
    void syncAll(std::function<void()> action = {});

    void syncClasses(std::function<void()> action);
    void syncPhrases(std::function<void()> action);
    // One download at a time, each started by the reply to the one before, on the GUI thread.
    void downloadMissingPictures(std::function<void()> action);

Q_SIGNALS:
    void syncStarted();
    void syncFinished();
    // The service gave a library without a single class, which it never does for a real one: the
    // program cannot go on with it.
    void libraryRefused(const QString &message);

private:
    CloudClient &cloud_;
    ClassStore &classes_;
    PhraseStore &phrases_;
    QString dbname_;
    bool running_ = false;
};
