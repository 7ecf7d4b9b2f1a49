#pragma once

#include "desktop/runningapplication.h"

#include <QHash>
#include <QString>

// The names programs have in the desktop's application menu: the Name of their desktop entry in the
// user's language, read from the applications folders of the XDG data directories. Each id is
// looked up once; an application installed later is found under an id not yet asked. GUI thread.
class ApplicationNames {
public:
    // The entry's name for a desktop application id or a WM_CLASS class; empty when no entry fits.
    QString entryName(const QString &applicationId);
    // What a user calls the application: its entry's name, else its id or class, else its window's title.
    QString displayName(const RunningApplication &application);

private:
    QHash<QString, QString> cache_;
};
