#pragma once

#include <QByteArray>
#include <QString>

class DesktopBackend;
class QMimeData;

// The only place where sending touches the clipboard: at any moment it holds one text or one
// picture. Where the back-end serves the clipboard itself it goes there; elsewhere through Qt's
// clipboard, whose work is always done on the GUI thread: a call from another thread (not a pool
// thread) waits for it, at most guiWaitMs, and a GUI thread busy for longer makes the call fail
// instead of the send going on late.
class ClipboardUtil {
public:
    explicit ClipboardUtil(DesktopBackend &desktop) : desktop_(desktop) {}

    // With alsoPrimary the same piece goes on the PRIMARY selection too (Shift+Insert pastes it).
    bool setText(const QString &value, bool alsoPrimary = false);
    // The bytes go on the clipboard as they are, typed "image/png" whatever their real format.
    bool setImage(const QByteArray &data, bool alsoPrimary = false);
    // Whether the clipboard (and PRIMARY, when asked and there is one) still holds the piece set
    // last by setText or setImage, as the display server sees it.
    bool ownsClipboard(bool alsoPrimary = false);

    static constexpr int guiWaitMs = 1000;

private:
    bool put(QMimeData *data, bool alsoPrimary);

    DesktopBackend &desktop_;
    // What put() set last, compared by address only, on the GUI thread.
    const QMimeData *lastPut_[2] = {nullptr, nullptr};
};
