#pragma once

#include <QByteArray>
#include <QList>
#include <QPoint>
#include <QRect>
#include <QSet>

class QWidget;

// What the tests see of the X desktop, and the user's hands on it: real pointer and key events
// through XTest, so that the window manager takes part as it does for a person.
namespace desktop {

quint64 rootWindow();
// A 32-bit property of a window (the first item), or 0.
quint64 windowProperty(quint64 window, const char *name, bool isWindow = false);
quint64 activeWindow();
qint64 windowPid(quint64 window);
// The managed top-level window of a process, or 0.
quint64 managedWindowOf(qint64 pid);
// Asks the window manager to activate a window, as a task list would on the user's behalf.
void requestActivation(quint64 window);
QSet<QByteArray> netWmState(quint64 window);
bool windowManagerRunning();
void moveWindow(quint64 window, const QRect &to);

void pointerTo(QPoint at);
void click(QPoint at);
void button(bool down);
// Presses and releases the key with the modifiers held (keysyms).
void pressWith(const QList<unsigned long> &modifiers, unsigned long key);
// The first synthesised key of a fresh server only switches the keyboard device over.
void warmUpKeyboard();

QPoint centreOf(QWidget *widget);

} // namespace desktop
