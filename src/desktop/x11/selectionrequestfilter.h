#pragma once

#include <QAbstractNativeEventFilter>

// Sees the selection requests that reach this program's X connection before Qt answers them, and
// records each in ClipboardRequests.
class SelectionRequestFilter : public QAbstractNativeEventFilter {
public:
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

    // Installs one filter on the application; GUI thread.
    static void install();
};
