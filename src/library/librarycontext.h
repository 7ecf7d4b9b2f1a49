#pragma once

#include <QString>

class ClassOperations;
class ClassStore;
class LibrarySync;
class PhraseOperations;
class PhraseStore;

// What the library views and dialogs work on: the signed-in user's stores, the operations that change
// them and the synchronisation. The session owns every part; views only refer to them.
struct LibraryContext {
    PhraseStore &phrases;
    ClassStore &classes;
    PhraseOperations &phraseOperations;
    ClassOperations &classOperations;
    LibrarySync &sync;
    QString username;
};
