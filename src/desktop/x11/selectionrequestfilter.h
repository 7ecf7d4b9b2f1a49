#pragma once

#include <QAbstractNativeEventFilter>

class ClipboardRequests;

// Sees the selection requests that reach this program's X connection before Qt answers them, and
// records each in the journal it was given.
class SelectionRequestFilter : public QAbstractNativeEventFilter {
public:
    explicit SelectionRequestFilter(ClipboardRequests &requests) : requests_(requests) {}

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    ClipboardRequests &requests_;
};
