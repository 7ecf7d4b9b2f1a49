#pragma once

#include <QIcon>

namespace quickbaricon {

// The quick bar's icon, for the tray menu entry and the home window's button: a strip of keys.
QIcon make();

} // namespace quickbaricon
