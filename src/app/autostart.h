#pragma once

#include "model/result.h"

#include <QString>

// Starting at login: an XDG autostart entry, $XDG_CONFIG_HOME/autostart/quillora.desktop.
class Autostart {
public:
    Autostart() = delete;

    static QString entryPath();
    static bool isEnabled();
    // Writes the entry (starting this executable) or removes it.
    static Result<void> setEnabled(bool enabled);
};
