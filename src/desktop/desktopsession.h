#pragma once

#include <QProcessEnvironment>
#include <QRect>
#include <memory>

class DesktopBackend;
class Settings;

// Which windowing system the desktop session runs, and the back-end for it.
namespace DesktopSession {

enum class Kind { X11, Wayland };

Kind detect(const QProcessEnvironment &environment);
// On GNOME's Wayland session the GNOME back-end when its Shell extension answers; in another
// Wayland session the Wayland back-end when the compositor offers what it needs; else the X11
// one (which in a Wayland session reaches XWayland windows only).
// The settings keep what a back-end must remember between runs (the portal's restore token).
std::unique_ptr<DesktopBackend> createBackend(Settings &settings);
// In a Wayland session with XWayland, this program's own windows go through XWayland: there
// the home window can dock at the screen edge and the quick bar can stay out of the keyboard
// focus. Call before the application object exists.
void prepareOwnWindows();
// Where the window manager overrides where our window wants to be (sway tiles it, or centres it
// when floating), asks it to put the window there; elsewhere the window's own geometry does.
void placeOwnWindow(quint64 x11Window, const QRect &geometry);
// Where the window manager does not give the keyboard to a window our program shows (sway, to an
// XWayland window that was not clicked), asks it to; elsewhere activating the window does.
void focusOwnWindow(quint64 x11Window);

} // namespace DesktopSession
