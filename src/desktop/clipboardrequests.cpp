#include "desktop/clipboardrequests.h"

#include "desktop/x11/selectionrequestfilter.h"

#include <QGuiApplication>
#include <chrono>

ClipboardRequests::ClipboardRequests() = default;

ClipboardRequests::~ClipboardRequests() {
    if (filter_ && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(filter_.get());
}

void ClipboardRequests::record(quint64 requestor, quint32 type) {
    std::lock_guard lock(mutex_);
    // A bound for a program that asks without end; a paste asks a few dozen times at most.
    if (journal_.size() < 4096)
        journal_.append({nowMs(), requestor, type});
}

QList<ClipboardRequests::Request> ClipboardRequests::all() const {
    std::lock_guard lock(mutex_);
    return journal_;
}

void ClipboardRequests::clear() {
    std::lock_guard lock(mutex_);
    journal_.clear();
}

qint64 ClipboardRequests::nowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void ClipboardRequests::watchX11Selections() {
    if (filter_ || QGuiApplication::platformName() != QLatin1String("xcb"))
        return;
    filter_ = std::make_unique<SelectionRequestFilter>(*this);
    QCoreApplication::instance()->installNativeEventFilter(filter_.get());
}
