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

bool inFront(DesktopBackend &backend, quint64 window) {
    const auto active = backend.activeApplication();
    return active && active->window == window;
}

// The exact window the send began with, not another one of the same program.
bool bringToFront(DesktopBackend &backend, const RunningApplication &target) {
    if (target.window == 0)
        return false;
    if (inFront(backend, target.window))
        return true;
    if (!backend.activate(target))
        return false;
    QDeadlineTimer deadline(KeyStrokes::reactivateWaitMs);
    while (!deadline.hasExpired()) {
        if (inFront(backend, target.window))
            return true;
        QThread::msleep(5);
    }
    return inFront(backend, target.window);
}

void post(Key key, bool control, std::optional<RunningApplication> target) {
    auto stroke = [key, control, target] {
        DesktopBackend &backend = DesktopBackend::instance();
        if (!waitForModifiersReleased(backend))
            return;
        if (target && !bringToFront(backend, *target))
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

void KeyStrokes::enter(const RunningApplication &target) {
    post(Key::Enter, false, target);
}

void KeyStrokes::paste(const RunningApplication &target) {
    post(Key::V, true, target);
}

void KeyStrokes::leftArrow(const RunningApplication &target) {
    post(Key::Left, false, target);
}
