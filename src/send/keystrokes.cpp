#include "send/keystrokes.h"

#include "send/desktopbackend.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <iostream>

namespace {

using Key = DesktopBackend::Key;

// A key that the user holds down combines with the synthesised one (Alt+V is not a paste).
bool waitForModifiersReleased(DesktopBackend &backend) {
    QDeadlineTimer deadline(KeyStrokes::modifierWaitMs);
    while (backend.modifiersHeld()) {
        if (deadline.hasExpired()) {
            std::cout << "modifier key held, key stroke dropped" << std::endl;
            return false;
        }
        QThread::msleep(10);
    }
    return true;
}

bool pidInFront(DesktopBackend &backend, qint32 pid) {
    const auto active = backend.activeApplication();
    return active && active->processIdentifier == pid;
}

bool bringPidToFront(DesktopBackend &backend, qint32 pid) {
    if (pid <= 0)
        return false;
    if (pidInFront(backend, pid))
        return true;
    for (const RunningApplication &app : backend.runningApplications()) {
        if (app.processIdentifier != pid)
            continue;
        if (!backend.activate(app))
            return false;
        QDeadlineTimer deadline(KeyStrokes::reactivateWaitMs);
        while (!deadline.hasExpired()) {
            if (pidInFront(backend, pid))
                return true;
            QThread::msleep(5);
        }
        return pidInFront(backend, pid);
    }
    return false;
}

void post(Key key, bool control, std::optional<qint32> pid) {
    auto stroke = [key, control, pid] {
        DesktopBackend &backend = DesktopBackend::instance();
        if (!waitForModifiersReleased(backend))
            return;
        if (pid && !bringPidToFront(backend, *pid))
            return;
        backend.keyStroke(key, control);
    };
    if (auto *app = QCoreApplication::instance())
        QMetaObject::invokeMethod(app, stroke, Qt::QueuedConnection);
}

} // namespace

void KeyStrokes::enter() {
    post(Key::Enter, false, std::nullopt);
}

void KeyStrokes::paste() {
    post(Key::V, true, std::nullopt);
}

void KeyStrokes::enter(qint32 pid) {
    post(Key::Enter, false, pid);
}

void KeyStrokes::paste(qint32 pid) {
    post(Key::V, true, pid);
}

void KeyStrokes::leftArrow(qint32 pid) {
    post(Key::Left, false, pid);
}
