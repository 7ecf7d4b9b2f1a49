#pragma once

#include "cloud/librarysynclistener.h"

#include <QString>
#include <functional>

// Full synchronisation: classes, then phrases, then missing pictures, strictly one after the other.
// Start it from the GUI thread; every action is called there.
class LibrarySync {
public:
    LibrarySync() = delete;

    // A view that sets itself here must clear the slot before it goes away.
    static inline LibrarySyncListener *listener = nullptr;
    static bool isCloud() { return cloud_; }

    // While one runs, a new call only calls its own action at once.
    static void cloudAll(std::function<void()> action);

    static void syncClasses(const QString &dbname, std::function<void()> action);
    static void syncPhrases(const QString &dbname, std::function<void()> action);
    // One download at a time, each started by the reply to the one before, on the GUI thread.
    static void downloadMissingPictures(const QString &dbUname, std::function<void()> action);

private:
    static void setCloud(bool value);
    static inline bool cloud_ = false;
};
