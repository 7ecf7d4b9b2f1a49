#pragma once

// Told when a full synchronisation starts and when it is over.
class LibrarySyncListener {
public:
    virtual ~LibrarySyncListener() = default;
    virtual void onSyncStart() = 0;
    virtual void onSyncStop() = 0;
};
