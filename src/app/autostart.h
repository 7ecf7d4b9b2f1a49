#pragma once

#include "model/result.h"

#include <QString>

// Starting at login: an XDG autostart entry, $XDG_CONFIG_HOME/autostart/quillora.desktop.
namespace Autostart {

QString entryPath();
bool isEnabled();
// Writes the entry (starting this executable) or removes it.
Result<void> setEnabled(bool enabled);

} // namespace Autostart
