#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// The only place where sending touches the clipboard: at any moment it holds one text or one
// picture. Callable from any thread; the work is always done on the GUI thread, and a call from
// another thread waits for it.
class ClipboardUtil {
public:
    ClipboardUtil() = delete;

    static bool setText(const QString &value);
    // The bytes go on the clipboard as they are, typed "image/png" whatever their real format.
    static bool setImage(const QByteArray &data);
    static std::optional<QByteArray> getImageData();
    static std::optional<QString> getImageBase64();

    // Waits (not on the GUI thread) until some program has fetched what the last setText/setImage
    // put on the clipboard; false when timeoutMs passed first. On X11 a paste pulls the data from
    // this process when the target handles Ctrl+V, which a busy target can do late.
    static bool waitUntilFetched(int timeoutMs);
};
