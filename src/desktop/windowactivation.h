#pragma once

#include "desktop/runningapplication.h"

#include <QList>
#include <optional>

// Finding running applications and bringing one to the front.
class WindowActivation {
public:
    WindowActivation() = delete;

    static std::optional<RunningApplication> getForeground();
    // The first running application, in the desktop's order, with this identifier.
    static std::optional<RunningApplication> getBundleIdentifier(const QString &bundleIdentifier);
    static bool activate(const RunningApplication &handle);
    static QList<RunningApplication> runningApplications();
};
