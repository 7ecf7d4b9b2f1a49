#pragma once

#include <QString>
#include <QtGlobal>

// One library the signed-in account may use, as the service lists it: its own, or a team's with the
// account's role there. A plain value.
struct LibraryInfo {
    QString dbname;
    bool team = false;
    QString role;
    // The version the service named; for a team library held locally, the version of its rows.
    qint64 version = 0;

    // Agents read and send; owners and editors change the library too.
    bool canEdit() const { return role == QLatin1String("owner") || role == QLatin1String("editor"); }

    bool operator==(const LibraryInfo &) const = default;
};
