#pragma once

#include <QProcessEnvironment>
#include <memory>

class DesktopBackend;

// Which windowing system the desktop session runs, and the back-end for it.
class DesktopSession {
public:
    DesktopSession() = delete;

    enum class Kind { X11, Wayland };

    static Kind detect(const QProcessEnvironment &environment);
    // The Wayland back-end in a Wayland session whose compositor offers what it needs, else the
    // X11 one (which in a Wayland session reaches XWayland windows only).
    static std::unique_ptr<DesktopBackend> createBackend();
    // In a Wayland session with XWayland, this program's own windows go through XWayland: there
    // the home window can dock at the screen edge and the quick bar can stay out of the keyboard
    // focus. Call before the application object exists.
    static void prepareOwnWindows();
};
