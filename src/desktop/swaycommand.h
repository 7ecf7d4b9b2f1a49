#pragma once

#include <QString>
#include <functional>

// Commands to sway through its IPC socket (SWAYSOCK), for what only the window manager can do
// to our own windows there, such as placing a window at the screen edge.
namespace SwayCommand {

// True in a session whose compositor is sway.
bool available();
// Runs the command without waiting for it; done (if given) gets sway's verdict on the GUI
// thread: empty when every part succeeded, else sway's error or why it could not be asked.
void run(const QString &command, std::function<void(const QString &error)> done = {});

} // namespace SwayCommand
