#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// The only place where sending touches the clipboard: at any moment it holds one text or one
// picture. Callable from any thread except a pool thread; the work is always done on the GUI
// thread, and a call from another thread waits for it, at most guiWaitMs: a GUI thread busy for
// longer makes the call fail instead of the send going on late.
class ClipboardUtil {
public:
    ClipboardUtil() = delete;

    // With alsoPrimary the same piece goes on the PRIMARY selection too (Shift+Insert pastes it).
    static bool setText(const QString &value, bool alsoPrimary = false);
    // The bytes go on the clipboard as they are, typed "image/png" whatever their real format.
    static bool setImage(const QByteArray &data, bool alsoPrimary = false);
    // Whether the clipboard (and PRIMARY, when asked and there is one) still holds the piece set
    // last by setText or setImage, as the display server sees it.
    static bool ownsClipboard(bool alsoPrimary = false);
    static std::optional<QByteArray> getImageData();
    static std::optional<QString> getImageBase64();

    static constexpr int guiWaitMs = 1000;
};
