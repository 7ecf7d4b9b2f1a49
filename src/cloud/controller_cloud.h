#pragma once

#include "cloud/controller_cloud_delegate.h"

#include <QString>
#include <functional>

// Full synchronisation: classes, then phrases, then missing pictures, strictly one after the other.
// Start it from the GUI thread; every action is called there.
class controller_cloud {
public:
    controller_cloud() = delete;

    // A view that sets itself here must clear the slot before it goes away.
    static inline controller_cloud_delegate *delegate = nullptr;
    static bool isCloud() { return cloud_; }

    // While one runs, a new call only calls its own action at once.
    static void cloudAll(std::function<void()> action);

    static void cloud_word_class(const QString &dbname, std::function<void()> action);
    static void cloud_word_list(const QString &dbname, std::function<void()> action);
    // One download at a time, from a pool thread.
    static void icloudDowImage(const QString &dbUname, std::function<void()> action);

private:
    static void setCloud(bool value);
    static inline bool cloud_ = false;
};
