#pragma once

#include <QHash>
#include <QString>

// Desktop entry files (the applications' .desktop files).
namespace DesktopEntry {

// The keys of a file's [Desktop Entry] group, values unescaped; empty for a file that is not UTF-8
// or has no such group. Any thread.
QHash<QString, QString> read(const QString &path);

} // namespace DesktopEntry
