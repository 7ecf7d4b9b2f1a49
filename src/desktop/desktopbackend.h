#pragma once

#include "desktop/clipboardrequests.h"
#include "desktop/runningapplication.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <atomic>
#include <functional>
#include <optional>

// What the send layer needs of the desktop: which application is in front, the running ones,
// bringing one forward, the keyboard focus and synthesised key strokes. One implementation per
// windowing system; every operation may be called from any thread. The session owns the one of
// the program and hands it to whatever needs the desktop.
class DesktopBackend {
public:
    enum class Key { V, Enter, Left, Insert };

    // A key with the modifiers held around it.
    struct Stroke {
        Key key = Key::V;
        bool control = false;
        bool shift = false;
        bool operator==(const Stroke &) const = default;
    };

    // Where the keyboard focus is, seen from one window.
    enum class Focus {
        Target,    // the window itself or one of its children
        Own,       // a window of this program
        Nowhere,   // no window (between two focus changes, or the root)
        Elsewhere, // a window of another program, or another window of the same program
        Gone,      // the window no longer exists
    };

    enum class StrokeResult { Typed, ModifiersHeld, NotFocused, Failed };

    virtual ~DesktopBackend() = default;

    // False when the windowing system cannot be reached; then every operation below fails.
    virtual bool available() const = 0;
    virtual std::optional<RunningApplication> activeApplication() = 0;
    // In the order the desktop lists its windows.
    virtual QList<RunningApplication> runningApplications() = 0;
    virtual bool activate(const RunningApplication &application) = 0;
    virtual QImage icon(quint64 window) = 0;
    // Whether the user physically holds Shift, Ctrl, Alt, Super or another modifier right now.
    virtual bool modifiersHeld() = 0;
    // Key down then key up into the focused window, with Ctrl held around it when asked.
    virtual bool keyStroke(Key key, bool control) = 0;

    // The real keyboard focus (not the window manager's idea of the active window).
    virtual Focus focus(quint64 window) = 0;
    // Types the stroke only when window holds the keyboard focus and no modifier is held, checked
    // and typed as one step that no focus change can come between.
    virtual StrokeResult strokeInto(quint64 window, Stroke stroke) = 0;
    // Whether two windows were made by the same connection to the display (the same program).
    virtual bool sameClient(quint64 a, quint64 b) = 0;
    // The name of a clipboard data type given by its number on the display.
    virtual QString typeName(quint32 type) = 0;

    // On Wayland only the focused program may set the clipboard through the toolkit, so there the
    // back-end serves the pieces itself. False: the toolkit's clipboard is used.
    virtual bool servesClipboard() const { return false; }
    // One piece under each of its data types, on the PRIMARY selection too when asked; true once
    // the back-end owns the clipboard with it. Each read is recorded in clipboardRequests().
    virtual bool setClipboard(const QList<std::pair<QByteArray, QByteArray>> &typesAndData, bool alsoPrimary);
    // Whether the clipboard still holds the piece given last to setClipboard (no other program
    // has taken it since), confirmed by the desktop.
    virtual bool ownsClipboard() { return false; }
    // What another program offers on the clipboard now, each type with its bytes, where the
    // back-end serves the clipboard itself; absent when it cannot be read or holds more than
    // maxBytes (then tooLarge is set).
    virtual std::optional<QList<std::pair<QByteArray, QByteArray>>> clipboardContent(qint64 maxBytes,
                                                                                     bool *tooLarge);
    // Returns once the desktop has taken up the clipboard content just set, where it passes the
    // clipboard on to other programs itself and a paste before that reads the previous content;
    // returns at once elsewhere. False when it did not in time (a paste now would read the
    // previous content), or when cancel is set.
    virtual bool awaitClipboardTaken(const std::atomic<bool> &cancel);

    // What changed in front: another window (or none), or the title or icon of the same one.
    enum class FrontChange { Window, Title, Icon };

    // Calls listener, on a thread of the back-end, whenever the window in front changes, and where
    // the desktop tells, when its title or icon does. False when the desktop does not tell, and
    // the caller has to ask now and then.
    virtual bool watchFront(std::function<void(FrontChange)> listener);

    // Who read the clipboard this program offers, on this desktop.
    ClipboardRequests &clipboardRequests() { return clipboardRequests_; }

private:
    ClipboardRequests clipboardRequests_;
};
