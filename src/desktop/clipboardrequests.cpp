#include "desktop/clipboardrequests.h"

#include "desktop/x11/selectionrequestfilter.h"

#include <QGuiApplication>
#include <chrono>
#include <mutex>

namespace {

std::mutex journalMutex;
QList<ClipboardRequests::Request> journal;

} // namespace

void ClipboardRequests::record(quint64 requestor, quint32 type) {
    std::lock_guard lock(journalMutex);
    // A bound for a program that asks without end; a paste asks a few dozen times at most.
    if (journal.size() < 4096)
        journal.append({nowMs(), requestor, type});
}

QList<ClipboardRequests::Request> ClipboardRequests::all() {
    std::lock_guard lock(journalMutex);
    return journal;
}

void ClipboardRequests::clear() {
    std::lock_guard lock(journalMutex);
    journal.clear();
}

qint64 ClipboardRequests::nowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void ClipboardRequests::watch() {
    static bool watching = false;
    if (watching || QGuiApplication::platformName() != QLatin1String("xcb"))
        return;
    watching = true;
    SelectionRequestFilter::install();
}
