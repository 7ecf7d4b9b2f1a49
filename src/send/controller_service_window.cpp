#include "send/controller_service_window.h"

#include "send/win32apiwindow.h"

#include <QCoreApplication>
#include <QTimer>
#include <mutex>

namespace {

bool running = false;
std::mutex targetMutex;
std::optional<RunningApplication> target;

} // namespace

void controller_service_window::start() {
    if (running)
        return;
    running = true;
    WindowChangeListener();
}

bool controller_service_window::isRun() {
    return running;
}

std::optional<RunningApplication> controller_service_window::nowWindowFrom() {
    std::lock_guard lock(targetMutex);
    return target;
}

void controller_service_window::WindowChangeListener() {
    // A timer on the GUI thread rather than a pool thread: the pool has as many threads as cores
    // and sends need them. It lives as long as the application object.
    auto *timer = new QTimer(QCoreApplication::instance());
    timer->setInterval(periodMs);
    QObject::connect(timer, &QTimer::timeout, timer, [] { probe(); });
    timer->start();
    probe();
}

void controller_service_window::probe() {
    // This program is recognised by its process: all of its windows carry our pid. Between two
    // focus changes the window manager briefly reports no active window at all; the target is
    // kept then too, or a click from the chat window into ours could lose it.
    auto front = Win32ApiWindow::getForeground();
    if (!front || front->processIdentifier == qint32(QCoreApplication::applicationPid()))
        return;
    std::lock_guard lock(targetMutex);
    target = std::move(front);
}
