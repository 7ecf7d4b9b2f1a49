#include "recordingbackend.h"

#include <QClipboard>
#include <QDateTime>
#include <QGuiApplication>
#include <QMimeData>
#include <QThread>
#include <thread>

#include "desktop/clipboardrequests.h"

RunningApplication RecordingBackend::app(qint32 pid, const QString &identifier) {
    RunningApplication a;
    a.pid = pid;
    a.window = quint64(pid) * 16;
    a.appId = identifier;
    a.title = identifier;
    return a;
}

QStringList RecordingBackend::journal() const {
    std::lock_guard lock(mutex_);
    return journal_;
}

void RecordingBackend::clearJournal() {
    std::lock_guard lock(mutex_);
    journal_.clear();
}

void RecordingBackend::settleFocus() {
    if (pendingPid_ != -1 && QDateTime::currentMSecsSinceEpoch() >= focusAt_) {
        activePid = pendingPid_;
        pendingPid_ = -1;
    }
}

std::optional<RunningApplication> RecordingBackend::activeApplication() {
    std::lock_guard lock(mutex_);
    settleFocus();
    for (const RunningApplication &a : applications)
        if (a.pid == activePid)
            return a;
    return std::nullopt;
}

QList<RunningApplication> RecordingBackend::runningApplications() {
    std::lock_guard lock(mutex_);
    return applications;
}

bool RecordingBackend::activate(const RunningApplication &application) {
    std::lock_guard lock(mutex_);
    journal_ << QStringLiteral("activate %1").arg(application.pid);
    bool present = false;
    for (const RunningApplication &a : applications)
        present = present || a.window == application.window;
    if (present && ignoredActivations == 0 && focusDelayMs > 0) {
        activePid = -1;
        pendingPid_ = application.pid;
        focusAt_ = QDateTime::currentMSecsSinceEpoch() + focusDelayMs;
    } else if (present && ignoredActivations == 0)
        activePid = application.pid;
    else if (present && ignoredActivations > 0)
        --ignoredActivations;
    return present;
}

void RecordingBackend::holdModifiers(int ms) {
    std::lock_guard lock(mutex_);
    heldForever_ = ms < 0;
    heldUntil_ = QDateTime::currentMSecsSinceEpoch() + ms;
}

bool RecordingBackend::modifiersHeld() {
    std::lock_guard lock(mutex_);
    return heldForever_ || QDateTime::currentMSecsSinceEpoch() < heldUntil_;
}

QString RecordingBackend::pasted(bool primary) const {
    const QMimeData *data =
        QGuiApplication::clipboard()->mimeData(primary ? QClipboard::Selection : QClipboard::Clipboard);
    if (data && data->hasFormat(QStringLiteral("image/png")))
        return QStringLiteral("paste png %1 bytes").arg(data->data(QStringLiteral("image/png")).size());
    return QStringLiteral("paste ") + (data ? data->text() : QString());
}

bool RecordingBackend::keyStroke(Key key, bool control) {
    std::lock_guard lock(mutex_);
    journal_ << QStringLiteral("untargeted %1%2").arg(int(key)).arg(control ? " with ctrl" : "");
    return true;
}

DesktopBackend::Focus RecordingBackend::focus(quint64 window) {
    std::lock_guard lock(mutex_);
    settleFocus();
    bool present = false;
    for (const RunningApplication &a : applications)
        present = present || a.window == window;
    if (!present)
        return Focus::Gone;
    if (activePid == -1)
        return Focus::Nowhere;
    if (activePid == qint32(QCoreApplication::applicationPid()))
        return Focus::Own;
    return quint64(activePid) * 16 == window ? Focus::Target : Focus::Elsewhere;
}

QString RecordingBackend::typeName(quint32 type) {
    return type == textType  ? QStringLiteral("UTF8_STRING")
           : type == pngType ? QStringLiteral("image/png")
                             : QStringLiteral("TARGETS");
}

DesktopBackend::StrokeResult RecordingBackend::strokeInto(quint64 window, Stroke stroke) {
    if (modifiersHeld())
        return StrokeResult::ModifiersHeld;
    if (focus(window) != Focus::Target)
        return StrokeResult::NotFocused;
    const bool paste = stroke.key == Key::V || stroke.key == Key::Insert;
    if (!paste) {
        std::lock_guard lock(mutex_);
        journal_ << (stroke.key == Key::Enter ? QStringLiteral("enter") : QStringLiteral("left")) +
                        QStringLiteral(" -> %1").arg(activePid);
        return StrokeResult::Typed;
    }
    // The target reads on its own time, like a separate program; what it inserts is its last read.
    const bool primary = stroke.key == Key::Insert && QGuiApplication::clipboard()->supportsSelection();
    const qint32 pid = activePid;
    std::thread([this, window, primary, pid] {
        QString got;
        QThread::msleep(ulong(readDelayMs));
        const QMimeData *data = nullptr;
        QMetaObject::invokeMethod(
            qApp,
            [&] {
                data = QGuiApplication::clipboard()->mimeData(primary ? QClipboard::Selection
                                                                      : QClipboard::Clipboard);
                const bool picture = data && data->hasFormat(QStringLiteral("image/png"));
                clipboardRequests().record(window + 1, targetsType);
                clipboardRequests().record(window + 1, picture ? pngType : textType);
                got = pasted(primary);
            },
            Qt::BlockingQueuedConnection);
        std::lock_guard lock(mutex_);
        journal_ << got + QStringLiteral(" -> %1").arg(pid);
    }).detach();
    return StrokeResult::Typed;
}
