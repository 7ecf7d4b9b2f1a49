#pragma once

#include "desktop/runningapplication.h"

#include <QHash>
#include <QString>
#include <QStringList>

// The names programs have in the desktop's application menu: the Name of their desktop entry in the
// user's language, read from the applications folders of the XDG data directories. GUI thread.
class ApplicationNames {
public:
    ApplicationNames() = delete;

    // The entry's name for a desktop application id or a WM_CLASS class; empty when no entry fits.
    // Each id is looked up once; an application installed later is found under an id not yet asked.
    static QString entryName(const QString &applicationId);
    // What a user calls the application: its entry's name, else its id or class, else its window's name.
    static QString displayName(const RunningApplication &application);
    // The keys of a desktop entry file's [Desktop Entry] group, values unescaped; empty for a file
    // that is not UTF-8 or has no such group. Any thread.
    static QHash<QString, QString> desktopEntry(const QString &path);

private:
    static QString findEntryName(const QString &applicationId);
    // The Name of a desktop entry file in the user's language; empty when the file is not an
    // application entry or is marked deleted (Hidden).
    static QString nameInFile(const QString &path);
    // Locale names to try in order for Name[...] (for zh_CN.UTF-8: zh_CN, zh), from the environment.
    static QStringList languages();
    static QHash<QString, QString> &cache();
};
