#include "recordingbackend.h"

#include <QClipboard>
#include <QDateTime>
#include <QGuiApplication>
#include <QMimeData>

RunningApplication RecordingBackend::app(qint32 pid, const QString &identifier) {
    RunningApplication a;
    a.processIdentifier = pid;
    a.window = quint64(pid) * 16;
    a.bundleIdentifier = identifier;
    a.localizedName = identifier;
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

std::optional<RunningApplication> RecordingBackend::activeApplication() {
    std::lock_guard lock(mutex_);
    for (const RunningApplication &a : applications)
        if (a.processIdentifier == activePid)
            return a;
    return std::nullopt;
}

QList<RunningApplication> RecordingBackend::runningApplications() {
    std::lock_guard lock(mutex_);
    return applications;
}

bool RecordingBackend::activate(const RunningApplication &application) {
    std::lock_guard lock(mutex_);
    journal_ << QStringLiteral("activate %1").arg(application.processIdentifier);
    bool present = false;
    for (const RunningApplication &a : applications)
        present = present || a.window == application.window;
    if (present && ignoredActivations == 0)
        activePid = application.processIdentifier;
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

bool RecordingBackend::keyStroke(Key key, bool control) {
    QString line;
    if (key == Key::V) {
        const QMimeData *data = QGuiApplication::clipboard()->mimeData();
        if (data && data->hasFormat(QStringLiteral("image/png")))
            line = QStringLiteral("paste png %1 bytes").arg(data->data(QStringLiteral("image/png")).size());
        else
            line = QStringLiteral("paste ") + (data ? data->text() : QString());
        if (!control)
            line += QStringLiteral(" without ctrl");
    } else {
        line = key == Key::Enter ? QStringLiteral("enter") : QStringLiteral("left");
        if (control)
            line += QStringLiteral(" with ctrl");
    }
    std::lock_guard lock(mutex_);
    journal_ << line + QStringLiteral(" -> %1").arg(activePid);
    return true;
}
