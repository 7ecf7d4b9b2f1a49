#include "desktop/x11/selectionrequestfilter.h"

#include "desktop/clipboardrequests.h"

#include <xcb/xcb.h>

bool SelectionRequestFilter::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & 0x7f) == XCB_SELECTION_REQUEST) {
        const auto *request = static_cast<const xcb_selection_request_event_t *>(message);
        requests_.record(request->requestor, request->target);
    }
    return false; // Qt answers it as usual
}
