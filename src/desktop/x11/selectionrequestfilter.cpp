#include "desktop/x11/selectionrequestfilter.h"

#include "desktop/clipboardrequests.h"

#include <QCoreApplication>
#include <xcb/xcb.h>

bool SelectionRequestFilter::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7f) == XCB_SELECTION_REQUEST) {
        const auto *request = static_cast<const xcb_selection_request_event_t *>(message);
        ClipboardRequests::record(request->requestor, request->target);
    }
    return false; // Qt answers it as usual
}

void SelectionRequestFilter::install() {
    // Kept for the life of the process: the application may outlive any owner we could give it.
    static SelectionRequestFilter filter;
    QCoreApplication::instance()->installNativeEventFilter(&filter);
}
