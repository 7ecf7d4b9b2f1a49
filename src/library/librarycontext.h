#pragma once

#include <QString>

class ClassOperations;
class ClassStore;
class LibrarySync;
class PhraseOperations;
class PhraseStore;
class TeamLibraries;

// What the library views and dialogs work on: the signed-in user's stores (which hold the team
// libraries' rows too), the operations that change them and the synchronisation. The session owns every part;
// views only refer to them.
struct LibraryContext {
    PhraseStore &phrases;
    ClassStore &classes;
    PhraseOperations &phraseOperations;
    ClassOperations &classOperations;
    LibrarySync &sync;
    // Every library the account uses, its own first; the operations of each.
    TeamLibraries &libraries;
    QString username;
};
